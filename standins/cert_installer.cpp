// "NorvakCertInstaller.iCache": the store of named texts that the suite's processes share.
#include <string_view>

#include "base/handles.h"
#include "standins/component_server.h"

namespace standins {
namespace {

unique_hkey create_Key(HKEY parent, const wchar_t* path, DWORD options) {
  HKEY key = nullptr;
  throw_UnlessSuccess(
      RegCreateKeyExW(parent, path, 0, nullptr, options, KEY_READ | KEY_WRITE, nullptr, &key, nullptr));
  return unique_hkey(key);
}

// The values outlive every process but not the user's session, and never reach the disk: among them are
// secrets. Only the last key is volatile, because a lasting key cannot be created below a volatile one.
unique_hkey open_Store() {
  const unique_hkey branch = create_Key(HKEY_CURRENT_USER, L"Software\\Norvak", REG_OPTION_NON_VOLATILE);
  return create_Key(branch.get(), L"SharedValues", REG_OPTION_VOLATILE);
}

// The registry takes value names that differ only in case for one name and ends a name at a NUL; the
// store's keys are exact texts. So everything but lower-case letters and digits is written as its code.
std::wstring compose_ValueName(const std::wstring& key) {
  constexpr std::wstring_view digits = L"0123456789abcdef";
  std::wstring name;
  for (const wchar_t character : key) {
    if ((character >= L'a' && character <= L'z') || (character >= L'0' && character <= L'9')) {
      name += character;
      continue;
    }
    name += L'%';
    for (const int shift : {12, 8, 4, 0})
      name += digits[static_cast<std::size_t>((character >> shift) & 0xF)];
  }
  return name;
}

_variant_t get_Value(Arguments arguments) {
  const unique_hkey store = open_Store();
  const auto name = compose_ValueName(as_Text(arguments[0]));
  std::wstring text;
  DWORD bytes = 0;
  LSTATUS code = ERROR_SUCCESS;
  // The first query tells the size, and so does each one before which another process wrote a longer text.
  do {
    text.resize(bytes / sizeof(wchar_t));
    code = RegQueryValueExW(store.get(), name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(text.data()),
                            &bytes);
  } while (code == ERROR_MORE_DATA);
  if (code == ERROR_FILE_NOT_FOUND)
    return L"";
  throw_UnlessSuccess(code);
  text.resize(bytes / sizeof(wchar_t));
  return _variant_t(_bstr_t(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())), false));
}

// An empty text reads the same as no text, so it is not kept.
_variant_t set_Value(Arguments arguments) {
  const unique_hkey store = open_Store();
  const auto name = compose_ValueName(as_Text(arguments[0]));
  const auto text = as_Text(arguments[1]);
  if (text.empty()) {
    const auto code = RegDeleteValueW(store.get(), name.c_str());
    throw_UnlessSuccess(code == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : code);
    return {};
  }
  throw_UnlessSuccess(RegSetValueExW(store.get(), name.c_str(), 0, REG_BINARY,
                                     reinterpret_cast<const BYTE*>(text.data()),
                                     static_cast<DWORD>(text.size() * sizeof(wchar_t))));
  return {};
}

std::vector<Member> create_StoreMembers() {
  return {
      {L"info", call_or_read, 0, [](Arguments) { return _variant_t(1L); }},
      // The store belongs to no session that could be unloaded, so there is nothing to switch off.
      {L"DisableSessionUnloading", call_or_read, 0, [](Arguments) { return _variant_t(); }},
      {L"get_PIN", call_or_read, 1, get_Value},
      {L"set_PIN", call_or_read, 2, set_Value},
  };
}

}  // namespace

const Component value_store_component = {
    L"NorvakCertInstaller",
    L"NorvakCertInstaller.iCache",
    {0xeef5b38b, 0x34b9, 0x4a50, {0x88, 0xd3, 0xca, 0xf1, 0x45, 0x7e, 0xc9, 0x99}},
    create_StoreMembers,
};

}  // namespace standins
