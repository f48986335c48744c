#include "settings/registry_administration.h"

#include <algorithm>
#include <array>
#include <functional>
#include <new>
#include <span>

#include "base/boundary.h"
#include "base/text.h"
#include "components/automation.h"
#include "settings/registry.h"
#include "settings/registry_keys.h"
#include "settings/registry_path.h"
#include "settings/registry_view.h"
#include "settings/registry_ways.h"
#include "settings/users_branch.h"

namespace {

enum class Target { ReadKey, CheckedKey, WrittenKey, WrittenValue };

// Runs the body with the place of the path and the repaired path; the empty answer when there is none.
template <typename Body>
auto administer(std::wstring_view path, Target target, Body body) noexcept {
  using Answer = decltype(body(RegistryPlace(), std::wstring()));
  return run_Guarded(Answer(), [&]() -> Answer {
    // The platform's functions would take the text before a NUL for the whole.
    if (is_Quiet() || contains(path, {L"\0", 1}))
      return {};
    load_ForceHKLM();
    auto repaired = normalised_ForWrite(path);
    if (target == Target::WrittenKey || target == Target::WrittenValue)
      repaired = written_Path(repaired);
    const auto run = [&](std::wstring_view path_in_view) {
      const auto place = find_Place(path_in_view);
      return place.Root == nullptr ? Answer() : body(place, repaired);
    };
    const auto whole = target == Target::WrittenValue ? repaired : with_Backslash(repaired);
    return target == Target::ReadKey ? ask_Views(whole, run) : run(in_SuiteView(whole));
  });
}

using Names = std::vector<std::wstring>;

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

Names texts_Of(const _variant_t& list) {
  Names texts;
  if (list.vt == (VT_ARRAY | VT_BSTR) && list.parray != nullptr && SafeArrayGetDim(list.parray) == 1)
    for (const BSTR text :
         std::span(static_cast<BSTR*>(list.parray->pvData), list.parray->rgsabound[0].cElements))
      texts.emplace_back(text, SysStringLen(text));
  return texts;
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
  return texts_Of(answer->get(L"sNames"));
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

template <typename Element, typename Elements, typename Conversion>
_variant_t make_List(VARTYPE type, const Elements& elements, Conversion convert) {
  _variant_t list;
  list.parray = SafeArrayCreateVector(type, 0, static_cast<ULONG>(elements.size()));
  if (list.parray == nullptr)
    throw std::bad_alloc();
  list.vt = static_cast<VARTYPE>(VT_ARRAY | type);
  std::ranges::transform(elements, static_cast<Element*>(list.parray->pvData), convert);
  return list;
}

// A value that has the form of its type as a method's argument.
_variant_t as_Argument(DWORD type, const RegistryValue& value) {
  if (const auto* bytes = std::get_if<std::vector<std::byte>>(&value))
    return make_List<std::byte>(VT_UI1, *bytes, std::identity());
  const auto& text = std::get<std::wstring>(value);
  if (type == REG_DWORD)
    return to_Number(text).value_or(0);
  if (type != REG_MULTI_SZ)
    return text_Argument(text);
  const auto texts = text.empty() ? std::vector<std::wstring>() : split(text, L'\0');
  return make_List<BSTR>(VT_BSTR, texts,
                         [](const auto& element) { return text_Argument(element).Detach().bstrVal; });
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
  // What is written goes to the suite's view alone.
  const bool is_read = (access & ~static_cast<DWORD>(KEY_READ)) == 0;
  return administer(
      path, is_read ? Target::ReadKey : Target::CheckedKey, [access](const auto& place, const auto&) {
        const auto answer = call_Provider(L"CheckAccess", place, {{L"uRequired", static_cast<long>(access)}});
        const bool granted = !answer || answer->get(L"bGranted").boolVal != VARIANT_FALSE;
        return succeeds(answer, L"CheckAccess", [&] { return open_Key(place, access) != nullptr; }) &&
               granted;
      });
}
