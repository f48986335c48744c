#include "host/arguments.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <system_error>

#include "base/text.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/failure.h"
#include "host/output.h"

namespace host {
namespace {

struct OptionRow {
  std::wstring_view Name;
  std::wstring_view ValueName;  // empty: the option takes no value
  std::wstring_view Summary;
  void (*Apply)(Arguments&, std::wstring_view value);
};

constexpr OptionRow option_table[] = {
    {L"--flags", L"N", L"CMF flags for the query, decimal or 0x… (default 0, a normal menu)",
     [](Arguments& arguments, std::wstring_view value) {
       arguments.QueryFlags = parse_Number(value, L"The value of --flags", 0xFFFFFFFF);
     }},
    {L"--first-id", L"N", L"first command identifier offered to the extension (default 100)",
     [](Arguments& arguments, std::wstring_view value) {
       arguments.FirstId = parse_Number(value, L"The value of --first-id", last_command_id);
     }},
    {L"--after", L"N",
     L"right-click twice, the second time N seconds later, as in an Explorer that is in use",
     [](Arguments& arguments, std::wstring_view value) {
       constexpr UINT hour = 3600;
       arguments.SecondsBefore = parse_Number(value, L"The value of --after", hour);
     }},
    {L"--json", L"", L"print one JSON object instead of text",
     [](Arguments& arguments, std::wstring_view) { arguments.IsJson = true; }},
    {L"--verbose", L"", L"also say on stderr how the selection was handed over",
     [](Arguments& arguments, std::wstring_view) { arguments.IsVerbose = true; }},
    {L"--version", L"", L"print the version",
     [](Arguments& arguments, std::wstring_view) { arguments.WantsVersion = true; }},
    {L"--help", L"", L"print this text",
     [](Arguments& arguments, std::wstring_view) { arguments.WantsHelp = true; }},
};

const OptionRow& find_Option(std::wstring_view name) {
  const auto row = std::ranges::find(option_table, name, &OptionRow::Name);
  if (row == std::end(option_table))
    throw Failure{quoted(name) + L" is not an option; see \"menuhost --help\".", exit_wrong_usage};
  return *row;
}

using Words = std::span<const std::wstring_view>;

// Applies the option at the front of `words`, its value behind "=" or in the next word; returns the words
// left.
Words apply_Option(Arguments& arguments, Words words) {
  const auto name = words.front().substr(0, words.front().find(L'='));
  const OptionRow& row = find_Option(name);
  const auto has_value = name.size() < words.front().size();
  if (row.ValueName.empty()) {
    if (has_value)
      throw Failure{L"The option " + std::wstring(name) + L" takes no value.", exit_wrong_usage};
    row.Apply(arguments, {});
    return words.subspan(1);
  }
  if (has_value) {
    row.Apply(arguments, words.front().substr(name.size() + 1));
    return words.subspan(1);
  }
  if (words.size() < 2)
    throw Failure{L"The option " + std::wstring(name) + L" needs a value.", exit_wrong_usage};
  row.Apply(arguments, words[1]);
  return words.subspan(2);
}

void add_Operand(Arguments& arguments, std::wstring_view word) {
  if (arguments.Command.empty())
    arguments.Command = word;
  else
    arguments.Operands.emplace_back(word);
}

}  // namespace

UINT parse_Number(std::wstring_view text, std::wstring_view meaning, UINT highest) {
  const auto is_hexadecimal = text.starts_with(L"0x") || text.starts_with(L"0X");
  // from_chars reads bytes only; what is no plain character becomes one that no number holds.
  std::string digits;
  std::ranges::transform(text.substr(is_hexadecimal ? 2 : 0), std::back_inserter(digits),
                         [](wchar_t c) { return c < 0x80 ? static_cast<char>(c) : '?'; });
  UINT number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number, is_hexadecimal ? 16 : 10);
  if (digits.empty() || error != std::errc() || stop != end || number > highest) {
    throw Failure{std::wstring(meaning) + L" must be a number from 0 to " + std::to_wstring(highest) +
                      L", not " + quoted(text) + L".",
                  exit_wrong_usage};
  }
  return number;
}

Arguments parse_Arguments(Words words) {
  Arguments arguments;
  while (!words.empty()) {
    if (words.front() == L"--") {
      for (const std::wstring_view word : words.subspan(1))
        add_Operand(arguments, word);
      break;
    }
    if (words.front().size() > 1 && words.front().starts_with(L'-')) {
      words = apply_Option(arguments, words);
    } else {
      add_Operand(arguments, words.front());
      words = words.subspan(1);
    }
  }
  return arguments;
}

std::wstring describe_Options() {
  std::wstring lines;
  for (const OptionRow& row : option_table) {
    std::wstring left(row.Name);
    if (!row.ValueName.empty())
      left.append(L" ").append(row.ValueName);
    lines += L"  " + pad_Right(left, 16) + std::wstring(row.Summary) + L"\n";
  }
  return lines;
}

}  // namespace host
