#include "host/arguments.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <system_error>

#include "base/text.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/failure.h"
#include "host/language.h"
#include "host/layout.h"

namespace host {
namespace {

struct OptionRow {
  std::wstring_view Name;
  std::wstring_view OtherNames;
  std::wstring_view ValueName;  // empty: the option takes no value
  std::wstring_view Commands;   // empty: all of them have it
  unsigned long Summary;
  void (*Apply)(Arguments&, std::wstring_view value);
};

constexpr std::wstring_view right_clicks = L"list show invoke";

constexpr OptionRow option_table[] = {
    {L"--flags", L"", L"N", right_clicks, TEXT_OPTION_FLAGS,
     [](Arguments& arguments, std::wstring_view value) {
       arguments.QueryFlags = parse_Number(value, L"--flags", 0xFFFFFFFF);
     }},
    {L"--first-id", L"", L"N", right_clicks, TEXT_OPTION_FIRST_ID,
     [](Arguments& arguments, std::wstring_view value) {
       arguments.FirstId = parse_Number(value, L"--first-id", last_command_id);
     }},
    {L"--after", L"", L"N", right_clicks, TEXT_OPTION_AFTER,
     [](Arguments& arguments, std::wstring_view value) {
       constexpr UINT hour = 3600;
       arguments.SecondsBefore = parse_Number(value, L"--after", hour);
     }},
    {L"--modern", L"", L"", L"list", TEXT_OPTION_MODERN,
     [](Arguments& arguments, std::wstring_view) { arguments.IsModern = true; }},
    {L"--verbose", L"", L"", right_clicks, TEXT_OPTION_VERBOSE,
     [](Arguments& arguments, std::wstring_view) { arguments.IsVerbose = true; }},
    {L"--all", L"", L"", L"doctor", TEXT_OPTION_ALL,
     [](Arguments& arguments, std::wstring_view) { arguments.IsAll = true; }},
    {L"--lines", L"", L"N", L"log", TEXT_OPTION_LINES,
     [](Arguments& arguments, std::wstring_view value) {
       constexpr UINT most_lines = 100'000;
       arguments.LineCount = parse_Number(value, L"--lines", most_lines);
     }},
    {L"--json", L"", L"", L"list show invoke doctor log", TEXT_OPTION_JSON,
     [](Arguments& arguments, std::wstring_view) { arguments.IsJson = true; }},
    {L"--language", L"", L"en|de", L"", TEXT_OPTION_LANGUAGE,
     [](Arguments&, std::wstring_view value) {
       if (!speak_Language(value))
         throw Failure{say(TEXT_NO_LANGUAGE, {std::wstring(value)}), exit_wrong_usage};
     }},
    {L"--version", L"", L"", L"", TEXT_OPTION_VERSION,
     [](Arguments& arguments, std::wstring_view) { arguments.WantsVersion = true; }},
    {L"--help", L"-h -? /h /? /help", L"", L"", TEXT_OPTION_HELP,
     [](Arguments& arguments, std::wstring_view) { arguments.WantsHelp = true; }},
};

bool has_Word(std::wstring_view words, std::wstring_view word) {
  return std::ranges::count(split(words, L' '), word) != 0;
}

bool is_OptionOf(const OptionRow& row, std::wstring_view command) {
  return row.Commands.empty() || has_Word(row.Commands, command);
}

const OptionRow* find_Option(std::wstring_view name) {
  const auto row = std::ranges::find_if(option_table, [name](const OptionRow& candidate) {
    return candidate.Name == name || has_Word(candidate.OtherNames, name);
  });
  return row == std::end(option_table) ? nullptr : row;
}

// A path may begin with a slash, so only the known options do.
bool is_Option(std::wstring_view word) {
  return (word.size() > 1 && word.starts_with(L'-')) || (word.starts_with(L'/') && find_Option(word));
}

using Words = std::span<const std::wstring>;

// Applies the option at the front of `words`, its value behind "=" or in the next word; returns the words
// left.
Words apply_Option(Arguments& arguments, Words words) {
  const std::wstring_view word = words.front();
  const auto name = word.substr(0, word.find(L'='));
  const auto* const row = find_Option(name);
  if (row == nullptr)
    throw Failure{say(TEXT_NO_OPTION, {std::wstring(name)}), exit_wrong_usage};
  arguments.Options.push_back(row->Name);
  const auto has_value = name.size() < word.size();
  if (row->ValueName.empty()) {
    if (has_value)
      throw Failure{say(TEXT_OPTION_WITHOUT_VALUE, {std::wstring(name)}), exit_wrong_usage};
    row->Apply(arguments, {});
    return words.subspan(1);
  }
  if (has_value) {
    row->Apply(arguments, word.substr(name.size() + 1));
    return words.subspan(1);
  }
  if (words.size() < 2)
    throw Failure{say(TEXT_OPTION_NEEDS_VALUE, {std::wstring(name)}), exit_wrong_usage};
  row->Apply(arguments, words[1]);
  return words.subspan(2);
}

void add_Operand(Arguments& arguments, std::wstring_view word) {
  if (arguments.Command.empty())
    arguments.Command = word;
  else
    arguments.Operands.emplace_back(word);
}

}  // namespace

UINT parse_Number(std::wstring_view text, std::wstring_view meaning, UINT highest, UINT lowest) {
  const auto is_hexadecimal = text.starts_with(L"0x") || text.starts_with(L"0X");
  // from_chars reads bytes only; what is no plain character becomes one that no number holds.
  std::string digits;
  std::ranges::transform(text.substr(is_hexadecimal ? 2 : 0), std::back_inserter(digits),
                         [](wchar_t c) { return c < 0x80 ? static_cast<char>(c) : '?'; });
  UINT number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number, is_hexadecimal ? 16 : 10);
  if (digits.empty() || error != std::errc() || stop != end || number > highest || number < lowest) {
    throw Failure{say(TEXT_NO_NUMBER, {std::wstring(meaning), std::to_wstring(lowest),
                                       std::to_wstring(highest), std::wstring(text)}),
                  exit_wrong_usage};
  }
  return number;
}

std::vector<std::wstring> split_CommandLine(std::wstring_view command_line) {
  std::vector<std::wstring> words;
  bool is_quoted = false;
  bool is_inside = false;  // of a word
  for (const wchar_t letter : command_line) {
    if (!is_quoted && (letter == L' ' || letter == L'\t')) {
      is_inside = false;
      continue;
    }
    if (!is_inside)
      words.emplace_back();
    is_inside = true;
    if (letter == L'"')
      is_quoted = !is_quoted;
    else
      words.back() += letter;
  }
  if (!words.empty())
    words.erase(words.begin());
  return words;
}

Arguments parse_Arguments(Words words) {
  Arguments arguments;
  while (!words.empty()) {
    if (words.front() == L"--") {
      for (const std::wstring& word : words.subspan(1))
        add_Operand(arguments, word);
      break;
    }
    if (is_Option(words.front())) {
      words = apply_Option(arguments, words);
    } else {
      add_Operand(arguments, words.front());
      words = words.subspan(1);
    }
  }
  return arguments;
}

void require_OwnOptions(const Arguments& arguments) {
  for (const auto name : arguments.Options)
    if (!is_OptionOf(*find_Option(name), arguments.Command))
      throw Failure{say(TEXT_OPTION_OF_OTHERS, {arguments.Command, std::wstring(name)}), exit_wrong_usage};
}

std::wstring describe_Options(std::wstring_view command) {
  constexpr std::size_t summary_column = 20;
  std::wstring lines;
  for (const OptionRow& row : option_table) {
    if (!command.empty() && !is_OptionOf(row, command))
      continue;
    std::wstring left = L"  " + std::wstring(row.Name);
    if (!row.OtherNames.empty())
      left.append(L", ").append(split(row.OtherNames, L' ').front());
    if (!row.ValueName.empty())
      left.append(L" ").append(row.ValueName);
    lines += pad_Right(left, summary_column) + wrap_Text(say(row.Summary), summary_column, summary_column);
  }
  return lines;
}

}  // namespace host
