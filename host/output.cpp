#include "host/output.h"

#include <windows.h>

#include <algorithm>

#include "base/text.h"
#include "host/layout.h"

namespace host {
namespace {

std::string to_Utf8(std::wstring_view text) {
  const auto length = static_cast<int>(text.size());
  const auto size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

// A console takes UTF-16 whatever its code page.
void write_Text(DWORD stream, std::wstring_view text) {
  const auto handle = GetStdHandle(stream);
  DWORD mode = 0;
  DWORD written = 0;
  if (GetConsoleMode(handle, &mode)) {
    constexpr std::size_t most = 8192;  // older consoles refuse more than 64 KiB at once
    for (; !text.empty(); text.remove_prefix(written))
      if (!WriteConsoleW(handle, text.data(), static_cast<DWORD>(std::min(text.size(), most)), &written,
                         nullptr) ||
          written == 0)
        return;
    return;
  }
  std::wstring with_line_ends(text);
  replace_All(with_line_ends, L"\n", L"\r\n");
  std::string bytes = to_Utf8(with_line_ends);
  while (!bytes.empty() &&
         WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) && written != 0)
    bytes.erase(0, written);
}

bool shows_Colours() {
  if (GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) > 1)
    return false;
  constexpr DWORD escape_sequences = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING
  const auto console = GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  return GetConsoleMode(console, &mode) && SetConsoleMode(console, mode | escape_sequences);
}

}  // namespace

void print_Text(std::wstring_view text) {
  write_Text(STD_OUTPUT_HANDLE, text);
}

void print_Note(std::wstring_view sentence) {
  const std::wstring name = L"menuhost: ";
  write_Text(STD_ERROR_HANDLE, name + wrap_Text(sentence, name.size(), name.size()));
}

std::wstring colour_Marks(std::wstring_view lines) {
  std::wstring coloured(lines);
  if (!shows_Colours())
    return coloured;
  coloured.insert(0, L"\n");
  replace_All(coloured, L"\n+ ", L"\n\x1b[32m+\x1b[0m ");
  replace_All(coloured, L"\n- ", L"\n\x1b[31m-\x1b[0m ");
  return coloured.substr(1);
}

}  // namespace host
