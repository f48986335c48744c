#include "files/marked_text.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "base/handles.h"
#include "base/process_values.h"
#include "files/file_names.h"
#include "files/files.h"

namespace {

enum class Mark { None, Utf8, Utf16, SwappedUtf16 };

constexpr std::array<std::pair<std::string_view, Mark>, 3> marks{
    {{"\xEF\xBB\xBF", Mark::Utf8}, {"\xFF\xFE", Mark::Utf16}, {"\xFE\xFF", Mark::SwappedUtf16}}};

struct MarkedBytes {
  Mark Kind = Mark::None;
  std::string Bytes;  // behind the mark
};

bool append_Bytes(HANDLE file, std::string& bytes, std::size_t count) {
  const auto before = bytes.size();
  bytes.resize(before + count);
  DWORD length = 0;
  const bool is_read =
      ReadFile(file, bytes.data() + before, static_cast<DWORD>(count), &length, nullptr) != FALSE;
  bytes.resize(before + (is_read ? length : 0));
  return is_read;
}

// A file without a mark costs the look at its beginning.
MarkedBytes read_Bytes(const std::wstring& path) {
  assert_Unlocked();
  constexpr std::size_t longest_mark = 3;
  constexpr std::size_t most_bytes = std::size_t{1} << 20U;
  const auto file = own_File(CreateFileW(exact_Path(path).c_str(), GENERIC_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                         OPEN_EXISTING, 0, nullptr));
  std::string bytes;
  if (!file || !append_Bytes(file.get(), bytes, longest_mark))
    return {};
  const auto mark =
      std::ranges::find_if(marks, [&](const auto& one) { return bytes.starts_with(one.first); });
  if (mark == marks.end() || !append_Bytes(file.get(), bytes, most_bytes) || bytes.size() >= most_bytes)
    return {};
  return {mark->second, bytes.substr(mark->first.size())};
}

// Nothing where the flags forbid bytes that are no text, and some are.
std::optional<std::wstring> decode_Utf8(std::string_view bytes, DWORD flags) {
  const auto size = static_cast<int>(bytes.size());
  std::wstring text(bytes.size(), L'\0');
  const auto length = MultiByteToWideChar(CP_UTF8, flags, bytes.data(), size, text.data(), size);
  if (length == 0 && size != 0)
    return {};
  text.resize(static_cast<std::size_t>(length));
  return text;
}

std::wstring decode_Utf16(std::string_view bytes, bool is_swapped) {
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  for (std::size_t index = 0; index < text.size(); ++index) {
    const auto first = static_cast<unsigned char>(bytes[2 * index + (is_swapped ? 1 : 0)]);
    const auto second = static_cast<unsigned char>(bytes[2 * index + (is_swapped ? 0 : 1)]);
    text[index] = static_cast<wchar_t>(first | (second << 8U));
  }
  return text;
}

std::optional<std::wstring> decode(const MarkedBytes& file, DWORD flags) {
  if (file.Kind == Mark::None)
    return {};
  return file.Kind == Mark::Utf8 ? decode_Utf8(file.Bytes, flags)
                                 : decode_Utf16(file.Bytes, file.Kind == Mark::SwappedUtf16);
}

}  // namespace

std::optional<std::wstring> read_MarkedText(const std::wstring& path) {
  return decode(read_Bytes(path), 0);
}

bool make_Utf16(const std::wstring& path) {
  const auto file = read_Bytes(path);
  if (file.Kind == Mark::None || file.Kind == Mark::Utf16)
    return true;
  // Bytes that are no text would be lost.
  const auto text = decode(file, MB_ERR_INVALID_CHARS);
  if (!text || (file.Kind == Mark::SwappedUtf16 && file.Bytes.size() % sizeof(wchar_t) != 0))
    return false;
  std::string bytes("\xFF\xFE");
  bytes.append(reinterpret_cast<const char*>(text->data()), text->size() * sizeof(wchar_t));
  const auto made = path + L".utf16";
  if (replace_File(made, bytes) &&
      ReplaceFileW(exact_Path(path).c_str(), exact_Path(made).c_str(), nullptr, 0, nullptr, nullptr))
    return true;
  delete_File(made);
  return false;
}
