// What every fuzz target uses: it takes an input apart and requires what must hold for every input.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// An input is taken apart from its start. Once it is used up it gives zeros and empty texts.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : m_rest(bytes) {}

  bool has_More() const { return !m_rest.empty(); }

  template <typename Number>
  Number take() {
    Number number{};
    const auto size = std::min(m_rest.size(), sizeof number);
    std::copy_n(m_rest.begin(), size, reinterpret_cast<std::uint8_t*>(&number));
    m_rest = m_rest.subspan(size);
    return number;
  }

  // A text ends at the byte FF, and FE says that the next two bytes are one letter. Every other byte is a
  // letter, so that inputs can be read and written by hand.
  std::wstring take_Text() {
    std::wstring text;
    while (has_More()) {
      const auto letter = take<std::uint8_t>();
      if (letter == 0xFF)
        break;
      text += static_cast<wchar_t>(letter == 0xFE ? take<std::uint16_t>() : letter);
    }
    return text;
  }

  // All bytes that are left; and those before the next FF.
  std::span<const char> rest() const { return {reinterpret_cast<const char*>(m_rest.data()), m_rest.size()}; }
  std::string take_Bytes() {
    const auto end = std::ranges::find(m_rest, 0xFF);
    const std::string bytes(m_rest.begin(), end);
    m_rest = m_rest.subspan(std::min(bytes.size() + 1, m_rest.size()));
    return bytes;
  }

 private:
  std::span<const std::uint8_t> m_rest;
};

// Ends the program with the target and its input when the condition does not hold.
void require(bool condition, const char* what);

struct Target {
  const char* Name;
  void (*Run)(Input input);
  int Inputs = 0;                       // unless the command line says how many
  bool IsFresh = false;                 // each input in a process of its own
  std::vector<std::string> Words = {};  // what the mutations insert
};

// The words of a text, which bars separate.
inline std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> words(1);
  for (const char letter : text)
    letter == '|' ? static_cast<void>(words.emplace_back()) : words.back().push_back(letter);
  return words;
}

// The names of a drop list that end within its bytes. An empty name ends the list, unless it is the first
// one.
template <typename Letter>
struct DecodedNames {
  std::basic_string<Letter> Letters;  // up to the end of the list or of the bytes
  std::vector<std::basic_string<Letter>> Names = {};
  bool IsWhole = false;  // the list's end is there

  explicit DecodedNames(std::span<const char> bytes) : Letters(bytes.size() / sizeof(Letter), Letter{}) {
    std::copy_n(bytes.begin(), Letters.size() * sizeof(Letter), reinterpret_cast<char*>(Letters.data()));
    for (std::size_t start = 0, end = 0; (end = Letters.find(Letter{}, start)) != Letters.npos;
         start = end + 1)
      if (end == start && !Names.empty()) {
        IsWhole = true;
        Letters.resize(end);
      } else {
        Names.push_back(Letters.substr(start, end - start));
      }
  }
};

// The targets that need nothing of the platform, and those that run on it.
const std::vector<Target>& plain_Targets();
const std::vector<Target>& selection_Targets();
const std::vector<Target>& settings_Targets();
const std::vector<Target>& component_Targets();
