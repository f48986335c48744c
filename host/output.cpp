#include "host/output.h"

#include <windows.h>

#include <algorithm>

namespace host {
namespace {

std::string to_Utf8(std::wstring_view text) {
  const auto length = static_cast<int>(text.size());
  const auto size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

// A console takes UTF-16 whatever its code page; a pipe or a file gets the bytes unchanged.
void write_Text(DWORD stream, std::wstring_view text) {
  const auto handle = GetStdHandle(stream);
  DWORD mode = 0;
  DWORD written = 0;
  if (GetConsoleMode(handle, &mode)) {
    WriteConsoleW(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    return;
  }
  std::string bytes = to_Utf8(text);
  while (!bytes.empty() &&
         WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) && written != 0)
    bytes.erase(0, written);
}

std::wstring format_Hexadecimal(unsigned long value, int digits) {
  std::wstring text;
  for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
    text += L"0123456789abcdef"[(value >> shift) & 0xF];
  return text;
}

// Half of a surrogate pair without the other half: legal in a file name, not in UTF-8.
bool is_LoneSurrogate(std::wstring_view text, std::size_t index) {
  if (IS_HIGH_SURROGATE(text[index]))
    return index + 1 == text.size() || !IS_LOW_SURROGATE(text[index + 1]);
  return IS_LOW_SURROGATE(text[index]) && (index == 0 || !IS_HIGH_SURROGATE(text[index - 1]));
}

std::wstring join_Values(const std::vector<std::wstring>& values) {
  std::wstring joined;
  for (const std::wstring& value : values)
    joined += (joined.empty() ? L"" : L",") + value;
  return joined;
}

}  // namespace

void print_Text(std::wstring_view text) {
  write_Text(STD_OUTPUT_HANDLE, text);
}

void print_Note(std::wstring_view sentence) {
  write_Text(STD_ERROR_HANDLE, L"menuhost: " + std::wstring(sentence) + L"\n");
}

std::wstring pad_Right(std::wstring_view text, std::size_t width) {
  std::wstring padded(text);
  padded.resize(std::max(width, padded.size()), L' ');
  return padded;
}

std::wstring json_Text(std::wstring_view text) {
  std::wstring escaped = L"\"";
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'"' || text[i] == L'\\')
      escaped.append(L"\\").append(1, text[i]);
    else if (text[i] < 0x20 || is_LoneSurrogate(text, i))
      escaped += L"\\u" + format_Hexadecimal(text[i], 4);
    else
      escaped += text[i];
  }
  return escaped + L"\"";
}

std::wstring json_Boolean(bool value) {
  return value ? L"true" : L"false";
}

std::wstring json_Array(const std::vector<std::wstring>& values) {
  return L"[" + join_Values(values) + L"]";
}

std::wstring json_Object(std::initializer_list<std::pair<std::wstring_view, std::wstring>> members) {
  std::vector<std::wstring> values;
  for (const auto& [name, value] : members)
    values.push_back(json_Text(name) + L":" + value);
  return L"{" + join_Values(values) + L"}";
}

}  // namespace host
