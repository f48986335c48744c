#include "support/registry_administration.h"

#include <algorithm>
#include <array>

#include "support/automation.h"
#include "support/boundary.h"
#include "support/ini_settings.h"
#include "support/registry.h"
#include "support/registry_path.h"
#include "support/registry_provider.h"
#include "support/registry_redirection.h"
#include "support/script_host.h"
#include "support/text.h"

namespace {

using Names = std::vector<std::wstring>;
enum class Target { ReadKey, WrittenKey, WrittenValue };

struct ValueMethod {
  DWORD Type;
  const wchar_t* Setter;
  const wchar_t* Parameter;
  const wchar_t* HostType;  // the script host's name of a type that it can write
};

constexpr std::array value_methods{
    ValueMethod{REG_SZ, L"SetStringValue", L"sValue", L"REG_SZ"},
    ValueMethod{REG_EXPAND_SZ, L"SetExpandedStringValue", L"sValue", L"REG_EXPAND_SZ"},
    ValueMethod{REG_BINARY, L"SetBinaryValue", L"uValue", nullptr},
    ValueMethod{REG_DWORD, L"SetDWORDValue", L"uValue", L"REG_DWORD"},
    ValueMethod{REG_MULTI_SZ, L"SetMultiStringValue", L"sValue", nullptr}};

// Runs the body with the place of the path and the repaired path; the empty answer when there is none.
template <typename Body>
auto administer(std::wstring_view path, Target target, Body body) noexcept {
  using Answer = decltype(body(RegistryPlace(), std::wstring()));
  return run_Guarded(Answer(), [&]() -> Answer {
    std::wstring repaired(path);
    // The platform's functions would take the text before a NUL for the whole.
    if (is_Quiet() || contains(path, {L"\0", 1}))
      return {};
    normalise_ForWrite(repaired);
    if (target != Target::ReadKey)
      redirect_ToUser(repaired);
    const auto place = find_Place(target == Target::WrittenValue ? repaired : with_Backslash(repaired));
    return place.Root == nullptr ? Answer() : body(place, repaired);
  });
}

// What the provider decided, or the outcome of the other ways where it gave no answer.
template <typename OtherWays>
bool succeeds(const std::optional<ProviderAnswer>& answer, std::wstring_view member, OtherWays other_ways) {
  if (answer)
    return answer->ReturnCode == 0;
  ensure_ScriptHost(member);
  return other_ways();
}

std::optional<Names> find_Names(const RegistryPlace& place, KeyContent content, std::wstring_view member) {
  const auto answer = call_Provider(content == KeyContent::Subkeys ? L"EnumKey" : L"EnumValues", place);
  if (!answer) {
    ensure_ScriptHost(member);
    return list_Key(place, content);
  }
  // A provider may call an empty key one without more items.
  if (answer->ReturnCode != 0 && answer->ReturnCode != ERROR_NO_MORE_ITEMS)
    return {};
  return answer->get_Texts(L"sNames");
}

bool fits(DWORD type, const RegistryValue& value) {
  const auto* text = std::get_if<std::wstring>(&value);
  if (text == nullptr)
    return type == REG_BINARY;
  const auto texts = split(*text, L'\0');
  if (type == REG_MULTI_SZ)
    return text->empty() || std::ranges::find(texts, std::wstring()) == texts.end();
  return texts.size() == 1 &&
         (type == REG_SZ || type == REG_EXPAND_SZ || (type == REG_DWORD && to_Number(*text)));
}

bool store(const RegistryPlace& place, const std::wstring& path, DWORD type, const RegistryValue& value) {
  const auto& method = *std::ranges::find(value_methods, type, &ValueMethod::Type);
  const auto argument = as_Argument(type, value);
  call_Provider(L"CreateKey", place);  // where this fails, the setter does too
  const auto answer = call_Provider(
      method.Setter, place, {{L"sValueName", text_Argument(place.Name)}, {method.Parameter, argument}});
  return succeeds(answer, L"createvalue", [&] {
    return (method.HostType != nullptr && write_ByScriptHost(path, argument, method.HostType)) ||
           write_Value(place, type, value);
  });
}

}  // namespace

bool createkey(std::wstring_view path) {
  return administer(path, Target::WrittenKey, [](const auto& place, const auto&) {
    const auto answer = call_Provider(L"CreateKey", place);
    return succeeds(answer, L"createkey", [&] { return create_Key(place); });
  });
}

bool deletekey(std::wstring_view path) {
  return administer(path, Target::WrittenKey, [](const auto& place, const auto&) {
    const auto subkeys = find_Names(place, KeyContent::Subkeys, L"deletekey");
    if (place.Key.empty() || !subkeys || !subkeys->empty())
      return false;
    return succeeds(call_Provider(L"DeleteKey", place), L"deletekey",
                    [&] { return RegDeleteKeyW(place.Root, place.Key.c_str()) == ERROR_SUCCESS; });
  });
}

bool createvalue(std::wstring_view path, DWORD type, const RegistryValue& value) {
  return administer(path, Target::WrittenValue, [&](const auto& place, const auto& repaired) {
    return fits(type, value) && store(place, repaired, type, value);
  });
}

bool deletevalue(std::wstring_view path, std::wstring_view mark) {
  return administer(path, Target::WrittenValue, [mark](const auto& place, const auto& repaired) {
    const bool was_in_ini = mark != force_registry && is_KeptInIni(repaired) && delete_FromIni(repaired);
    const auto answer = call_Provider(L"DeleteValue", place, {{L"sValueName", text_Argument(place.Name)}});
    const bool was_in_registry = succeeds(answer, L"deletevalue", [&] {
      return delete_ByScriptHost(repaired) ||
             RegDeleteValueW(open_Key(place, KEY_SET_VALUE).get(), place.Name.c_str()) == ERROR_SUCCESS;
    });
    return was_in_ini || was_in_registry;
  });
}

std::vector<std::wstring> EnumKey(std::wstring_view path) {
  return administer(path, Target::ReadKey, [](const auto& place, const auto&) {
    return find_Names(place, KeyContent::Subkeys, L"EnumKey").value_or(Names());
  });
}

std::vector<RegistryEntry> EnumValues(std::wstring_view path) {
  return administer(path, Target::ReadKey, [](const auto& place, const auto&) {
    std::vector<RegistryEntry> entries;
    // The provider would expand text, cut it at a NUL and trust it to have a terminator.
    for (const auto& name : find_Names(place, KeyContent::Values, L"EnumValues").value_or(Names()))
      entries.push_back(read_Entry({place.Root, place.Key, name}));
    return entries;
  });
}

bool CheckAccess(std::wstring_view path, DWORD access) {
  return administer(path, Target::ReadKey, [access](const auto& place, const auto&) {
    const auto answer = call_Provider(L"CheckAccess", place, {{L"uRequired", static_cast<long>(access)}});
    const bool granted = !answer || answer->get(L"bGranted").boolVal != VARIANT_FALSE;
    return succeeds(answer, L"CheckAccess", [&] { return open_Key(place, access) != nullptr; }) && granted;
  });
}
