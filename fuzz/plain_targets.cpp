// The targets that need nothing of the platform. Each compares the product's fast routines with plain ones
// that go letter by letter.
#include <cwchar>
#include <optional>

#include "base/text.h"
#include "fuzz/target.h"
#include "selection/dropped_names.h"

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

// The number that the digits behind at most one sign make.
std::optional<long> number_In(const std::wstring& text) {
  const auto digits = text.substr(text.starts_with(L'-') || text.starts_with(L'+') ? 1 : 0);
  const auto number = std::wcstoll(text.c_str(), nullptr, 10);  // the nearest one for too many digits
  if (digits.empty() || digits.find_first_not_of(L"0123456789") != digits.npos ||
      number != static_cast<std::int32_t>(number))
    return {};
  return static_cast<long>(number);
}

void text(Input input) {
  const auto whole = input.take_Text();
  auto trimmed = whole.substr(0, whole.find_last_not_of(L' ') + 1);
  trimmed.erase(0, trimmed.find_first_not_of(L' '));
  require(trim(whole) == trimmed, "both ends have no blanks");
  require(to_Number(whole) == number_In(trimmed), "the whole text is the number");

  const auto mark = static_cast<wchar_t>(input.take<std::uint8_t>());
  std::wstring joined;
  for (const auto& piece : split(whole, mark)) {
    require(!contains(piece, {&mark, 1}), "no piece holds the separator");
    joined += mark + piece;
  }
  require(joined == mark + whole, "the joined pieces are the text");
  require(after_Last(whole, mark) == whole.substr(whole.rfind(mark) + 1), "it is what follows the last mark");
  const bool is_closed = whole.empty() || whole.ends_with(L'\\');
  require(with_Backslash(whole) == whole + (is_closed ? L"" : L"\\"), "a folder ends in a backslash");
  const auto from = input.take_Text(), to = input.take_Text();
  if (from.empty())
    return;
  auto product = whole;
  replace_All(product, from, to);
  require(product == replaced(whole, from, to), "every occurrence is replaced once");
}

// The letters get heap memory of exactly their size, whose bounds the sanitizer watches.
template <typename Letter>
void find_AllNames(std::span<const char> bytes) {
  std::vector<Letter> letters(bytes.size() / sizeof(Letter));
  std::copy_n(bytes.data(), letters.size() * sizeof(Letter), reinterpret_cast<char*>(letters.data()));
  const auto found = find_Names(std::basic_string_view<Letter>(letters.data(), letters.size()));
  const auto decoded = DecodedNames<Letter>(bytes);
  require(std::ranges::equal(found, decoded.Names), "the names are those that end within the block");
}

void names(Input input) {
  if (input.take<std::uint8_t>() % 2 != 0)
    find_AllNames<char16_t>(input.rest());
  else
    find_AllNames<char>(input.rest());
}

}  // namespace

const std::vector<Target>& plain_Targets() {
  static const std::vector<Target> targets{
      {"text", text, 30000, false, {" ", "-", "+", "2147483648", "\\", "\xFF", std::string("\0", 1), "\t"}},
      {"names", names, 5000},
  };
  return targets;
}
