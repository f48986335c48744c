#include "support/registry_api.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "support/handles.h"
#include "support/text.h"

namespace {

constexpr std::size_t first_buffer_size = 10240;

struct Root {
  std::wstring_view Name;
  HKEY Key;
};

HKEY find_Root(std::wstring_view name) {
  static const std::array roots{Root{L"hklm", HKEY_LOCAL_MACHINE}, Root{L"hkcu", HKEY_CURRENT_USER},
                                Root{L"hkcr", HKEY_CLASSES_ROOT}, Root{L"hku", HKEY_USERS},
                                Root{L"hkcc", HKEY_CURRENT_CONFIG}};
  const auto found =
      std::ranges::find_if(roots, [name](const Root& root) { return equals_IgnoringCase(root.Name, name); });
  return found == roots.end() ? nullptr : found->Key;
}

std::wstring without_LastBytes(std::span<const std::byte> bytes, std::size_t count) {
  if (bytes.size() < count)
    return {};
  return from_Ansi({reinterpret_cast<const char*>(bytes.data()), bytes.size() - count});
}

std::wstring dword_Text(std::span<const std::byte> bytes) {
  std::int32_t number = 0;
  if (bytes.size() < sizeof number)
    return {};
  std::memcpy(&number, bytes.data(), sizeof number);
  return std::to_wstring(number);
}

RegistryValue convert(DWORD type, std::span<const std::byte> bytes) {
  constexpr std::size_t terminator = 1;
  constexpr std::size_t list_terminator = 2;
  switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
      return without_LastBytes(bytes, terminator);
    case REG_MULTI_SZ:
      return without_LastBytes(bytes, list_terminator);
    case REG_DWORD:
      return dword_Text(bytes);
    case REG_BINARY:
      return std::vector<std::byte>(bytes.begin(), bytes.end());
    default:
      return std::wstring();
  }
}

RegistryValue query_Value(HKEY key, const std::string& name) {
  std::array<std::byte, first_buffer_size> buffer;
  std::vector<std::byte> larger;
  std::span<std::byte> bytes(buffer);
  DWORD type = REG_NONE;
  auto size = static_cast<DWORD>(bytes.size());
  const auto query = [&] {
    return RegQueryValueExA(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(bytes.data()), &size);
  };
  LSTATUS status = query();
  if (status == ERROR_MORE_DATA) {
    larger.resize(size);
    bytes = larger;
    status = query();
  }
  if (status != ERROR_SUCCESS)
    return std::wstring();
  return convert(type, bytes.first(std::min<std::size_t>(size, bytes.size())));
}

}  // namespace

bool is_Empty(const RegistryValue& value) {
  return std::visit([](const auto& content) { return content.empty(); }, value);
}

std::wstring as_Text(RegistryValue value) {
  auto* text = std::get_if<std::wstring>(&value);
  return text == nullptr ? std::wstring() : std::move(*text);
}

RegistryValue regread_api(std::wstring_view path) {
  const auto root_end = path.find(L'\\');
  const auto key_end = path.rfind(L'\\');
  if (root_end == std::wstring_view::npos)
    return std::wstring();
  const HKEY root = find_Root(path.substr(0, root_end));
  if (root == nullptr)
    return std::wstring();
  const auto key_path =
      root_end == key_end ? std::wstring_view() : path.substr(root_end + 1, key_end - root_end - 1);

  HKEY opened = nullptr;
  if (RegOpenKeyExA(root, to_Ansi(key_path).c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
    return std::wstring();
  const unique_hkey key(opened);
  return query_Value(key.get(), to_Ansi(path.substr(key_end + 1)));
}
