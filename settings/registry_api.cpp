#include "settings/registry_api.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <utility>

#include "base/process_values.h"
#include "base/text.h"
#include "settings/registry_view.h"

namespace {

constexpr std::size_t first_buffer_size = 10240;

struct Root {
  std::wstring_view Name;
  HKEY Key;
};

HKEY find_Root(std::wstring_view name) {
  const std::array roots{Root{L"hklm", HKEY_LOCAL_MACHINE}, Root{L"hkcu", HKEY_CURRENT_USER},
                         Root{L"hkcr", HKEY_CLASSES_ROOT}, Root{L"hku", HKEY_USERS},
                         Root{L"hkcc", HKEY_CURRENT_CONFIG}};
  const auto found =
      std::ranges::find_if(roots, [name](const Root& root) { return equals_IgnoringCase(root.Name, name); });
  return found == roots.end() ? nullptr : found->Key;
}

std::wstring read_AnsiText(std::span<const std::byte> bytes, std::size_t terminators) {
  if (bytes.size() < terminators)
    return {};
  return from_Ansi({reinterpret_cast<const char*>(bytes.data()), bytes.size() - terminators});
}

std::wstring read_WideText(std::span<const std::byte> bytes, std::size_t terminators) {
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  std::ranges::copy(bytes.first(text.size() * sizeof(wchar_t)), reinterpret_cast<std::byte*>(text.data()));
  const bool is_whole = bytes.size() % 2 == 0 && text.ends_with(std::wstring(terminators, L'\0'));
  return is_whole ? text.substr(0, text.size() - terminators) : std::wstring();
}

std::wstring dword_Text(std::span<const std::byte> bytes) {
  std::int32_t number = 0;
  if (bytes.size() < sizeof number)
    return {};
  std::memcpy(&number, bytes.data(), sizeof number);
  return decimal(number);
}

template <typename TextReader>
RegistryValue convert(DWORD type, std::span<const std::byte> bytes, TextReader read_text) {
  constexpr std::size_t terminator = 1;
  constexpr std::size_t list_terminator = 2;
  switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
      return read_text(bytes, terminator);
    case REG_MULTI_SZ:
      return read_text(bytes, list_terminator);
    case REG_DWORD:
      return dword_Text(bytes);
    case REG_BINARY:
      return std::vector<std::byte>(bytes.begin(), bytes.end());
    default:
      return std::wstring();
  }
}

template <typename Query, typename Name, typename TextReader>
RegistryValue query_Value(Query query_function, HKEY key, const Name& name, TextReader read_text, DWORD& type,
                          LSTATUS& status) {
  std::array<BYTE, first_buffer_size> buffer;
  std::vector<BYTE> larger;
  std::span<BYTE> bytes(buffer);
  auto size = static_cast<DWORD>(bytes.size());
  const auto query = [&] { return query_function(key, name.c_str(), nullptr, &type, bytes.data(), &size); };
  status = query();
  if (status == ERROR_MORE_DATA) {
    larger.resize(size);
    bytes = larger;
    status = query();
  }
  if (status != ERROR_SUCCESS)
    return std::wstring();
  return convert(type, std::as_bytes(bytes.first(std::min<std::size_t>(size, bytes.size()))), read_text);
}

RegistryValue read_AnsiValue(const RegistryPlace& place, LSTATUS& status) {
  status = ERROR_INVALID_NAME;
  HKEY opened = nullptr;
  assert_Unlocked();
  if (place.Root != nullptr)
    status = RegOpenKeyExA(place.Root, to_Ansi(place.Key).c_str(), 0, KEY_READ, &opened);
  const unique_hkey key(opened);
  DWORD type = REG_NONE;
  return key ? query_Value(RegQueryValueExA, opened, to_Ansi(place.Name), read_AnsiText, type, status)
             : RegistryValue();
}

}  // namespace

bool is_Empty(const RegistryValue& value) {
  return std::visit([](const auto& content) { return content.empty(); }, value);
}

RegistryValue copy_Of(const RegistryValue& value) {
  return std::visit([](auto content) { return RegistryValue(std::move(content)); }, value);
}

std::wstring as_Text(RegistryValue value) {
  auto* text = std::get_if<std::wstring>(&value);
  return text == nullptr ? std::wstring() : std::move(*text);
}

RegistryPlace find_Place(std::wstring_view path) {
  const auto root_end = path.find(L'\\');
  const auto key_end = path.rfind(L'\\');
  if (root_end == std::wstring_view::npos)
    return {};
  const auto key =
      root_end == key_end ? std::wstring_view() : path.substr(root_end + 1, key_end - root_end - 1);
  return {find_Root(path.substr(0, root_end)), std::wstring(key), std::wstring(path.substr(key_end + 1))};
}

RegistryValue regread_api(std::wstring_view path) {
  return ask_Registry(SettingPath(std::wstring(path))).Value;
}

ApiAnswer ask_Registry(const SettingPath& path) {
  ApiAnswer answer{{}, is_Ascii(path.Text)};
  answer.Value = ask_Views(path.Text, [&](std::wstring_view path_in_view) {
    LSTATUS status = ERROR_SUCCESS;
    auto value = read_AnsiValue(path_in_view == path.Text ? path.Place : find_Place(path_in_view), status);
    answer.IsMissing = answer.IsMissing && status == ERROR_FILE_NOT_FOUND;
    return value;
  });
  return answer;
}

unique_hkey open_Key(const RegistryPlace& place, DWORD access) {
  assert_Unlocked();
  HKEY key = nullptr;
  RegOpenKeyExW(place.Root, place.Key.c_str(), 0, access, &key);
  return unique_hkey(key);
}

RegistryEntry read_Entry(const RegistryPlace& place, DWORD view) {
  RegistryEntry entry{place.Name, REG_NONE, {}};
  const auto key = open_Key(place, KEY_READ | view);
  LSTATUS status = ERROR_SUCCESS;
  entry.Value = query_Value(RegQueryValueExW, key.get(), place.Name, read_WideText, entry.Type, status);
  return entry;
}
