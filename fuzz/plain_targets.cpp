// The targets that need nothing of the platform. Each holds the product's fast ways to plain ones over
// letters.
#include <limits>
#include <optional>

#include "fuzz/target.h"
#include "shellext/dropped_names.h"
#include "shellext/path_list.h"
#include "support/text.h"

namespace {

std::wstring replaced(const std::wstring& text, const std::wstring& from, const std::wstring& to) {
  std::wstring result;
  for (std::size_t at = 0; at < text.size();) {
    const bool hit = text.compare(at, from.size(), from) == 0;
    result += hit ? to : text.substr(at, 1);
    at += hit ? from.size() : 1;
  }
  return result;
}

void path_list(Input input) {
  PathList list;
  std::wstring expected;
  while (input.has_More()) {
    const auto path = input.take_Text();
    list.append(path);
    expected = replaced(expected + L"|" + path, L"||", L"|");
    if (!expected.empty() && expected[0] == L'|')
      expected.erase(0, 1);
    require(list.text() == expected, "the list is what the steps over the whole list give");
  }
  require(names_Anything(list.text()) == (expected.find_first_not_of(L"| ") != std::wstring::npos),
          "the list names something");
}

std::optional<long> number_In(const std::wstring& text) {
  const bool has_sign = !text.empty() && (text[0] == L'-' || text[0] == L'+');
  long long number = 0;
  for (const wchar_t letter : text.substr(has_sign)) {
    if (letter < L'0' || letter > L'9' || number > std::numeric_limits<std::int32_t>::max())
      return {};
    number = number * 10 + (letter - L'0');
  }
  number = has_sign && text[0] == L'-' ? -number : number;
  using Limits = std::numeric_limits<std::int32_t>;
  return text.size() > has_sign && number >= Limits::min() && number <= Limits::max()
             ? std::optional(static_cast<long>(number))
             : std::nullopt;
}

void text(Input input) {
  const auto whole = input.take_Text();
  auto trimmed = whole;
  while (trimmed.starts_with(L' '))
    trimmed.erase(0, 1);
  while (trimmed.ends_with(L' '))
    trimmed.pop_back();
  require(trim(whole) == trimmed, "blanks are off both ends");
  require(to_Number(whole) == number_In(trimmed), "the whole text is the number");

  const auto mark = static_cast<wchar_t>(input.take<std::uint8_t>());
  std::wstring joined;
  for (const auto& piece : split(whole, mark)) {
    require(!contains(piece, {&mark, 1}), "no piece holds the separator");
    joined += mark + piece;
  }
  require(joined == mark + whole, "the joined pieces are the text");
  const auto last = after_Last(whole, mark);
  require(!contains(last, {&mark, 1}) && whole.ends_with(last) &&
              (last.size() == whole.size() || whole[whole.size() - last.size() - 1] == mark),
          "what is behind the last mark");
  const auto folder = with_Backslash(whole);
  require(whole.empty() ? folder.empty() : folder.ends_with(L'\\') && whole == folder.substr(0, whole.size()),
          "a folder ends in a backslash");
  require(folder.size() <= whole.size() + !whole.ends_with(L'\\'), "in one that was not there");

  const auto from = input.take_Text(), to = input.take_Text();
  auto product = whole;
  if (!from.empty())
    replace_All(product, from, to);
  require(product == (from.empty() ? whole : replaced(whole, from, to)), "every occurrence is replaced once");
}

// The block gets a heap of its own size, whose bounds the sanitizer watches.
template <typename Letter>
void take_AllNames(const std::vector<char>& block) {
  std::size_t letters = 0, count = 0;
  std::vector<Letter> all(block.size() / sizeof(Letter));
  std::copy_n(block.data(), all.size() * sizeof(Letter), reinterpret_cast<char*>(all.data()));
  for (const auto name : find_Names(std::basic_string_view<Letter>(all.data(), all.size())).Names) {
    require(name.size() <= 499 && name.find(Letter{}) == name.npos, "a name is a cut text");
    require(!name.empty() || count == 0, "only the first name may be empty");
    letters += name.size() + 1;
    ++count;
  }
  require(letters * sizeof(Letter) <= block.size(), "the names have room in their block");
}

void names(Input input) {
  const bool wide = input.take<std::uint8_t>() % 2 != 0;
  const std::vector<char> block(input.rest().begin(), input.rest().end());
  if (wide)
    take_AllNames<char16_t>(block);
  else
    take_AllNames<char>(block);
}

}  // namespace

const std::vector<Target>& plain_Targets() {
  static const std::vector<Target> targets{
      {"path_list", path_list, 40000, false, {"|", "||", "\xFF", "\xFF\xFF", "c:\\"}},
      {"text", text, 30000, false, {" ", "-", "+", "2147483648", "\\", "\xFF", std::string("\0", 1), "\t"}},
      {"names", names, 5000},
  };
  return targets;
}
