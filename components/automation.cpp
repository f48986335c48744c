#include "components/automation.h"

#include <iterator>
#include <vector>

#include "base/boundary.h"
#include "base/process_values.h"

namespace {

constexpr IID no_interface{};  // what a late-bound call passes for the interface

// Without room for a result nobody waits for one.
bool invoke(IDispatch* object, const wchar_t* name, WORD kind, std::initializer_list<_variant_t> arguments,
            _variant_t* result) {
  const AutomationObject own(object);  // the component may have its owner let it go meanwhile
  DISPID member = DISPID_UNKNOWN;
  if (object == nullptr || FAILED(find_Member(object, name, member)))
    return false;
  std::vector<_variant_t> reversed(std::rbegin(arguments), std::rend(arguments));
  return SUCCEEDED(invoke_Member(object, member, kind, reversed, result));
}

// A caller by name cannot know whether the component made the member a method or a property.
constexpr WORD call_or_read = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

}  // namespace

HRESULT find_Member(IDispatch* object, const wchar_t* name, DISPID& member) {
  assert_Unlocked();
  auto* writable_name = const_cast<wchar_t*>(name);
  return object->GetIDsOfNames(no_interface, &writable_name, 1, LOCALE_USER_DEFAULT, &member);
}

HRESULT invoke_Member(IDispatch* object, DISPID member, WORD kind, std::span<_variant_t> reversed_arguments,
                      _variant_t* result) {
  assert_Unlocked();
  DISPID property_put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{reversed_arguments.data(), nullptr, static_cast<UINT>(reversed_arguments.size()), 0};
  if ((kind & DISPATCH_PROPERTYPUT) != 0) {
    parameters.rgdispidNamedArgs = &property_put;
    parameters.cNamedArgs = 1;
  }
  EXCEPINFO exception{};
  UINT argument_at_fault = 0;
  const HRESULT outcome = object->Invoke(member, no_interface, LOCALE_USER_DEFAULT, kind, &parameters, result,
                                         &exception, &argument_at_fault);
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrDescription);
  SysFreeString(exception.bstrHelpFile);
  return outcome;
}

std::optional<_variant_t> call_Member(IDispatch* object, const wchar_t* name,
                                      std::initializer_list<_variant_t> arguments) noexcept {
  return run_Guarded(std::optional<_variant_t>(), [&] {
    _variant_t result;
    const bool is_answered = invoke(object, name, call_or_read, arguments, &result);
    return is_answered ? std::optional(std::move(result)) : std::nullopt;
  });
}

void send_Member(IDispatch* object, const wchar_t* name,
                 std::initializer_list<_variant_t> arguments) noexcept {
  run_Guarded([&] { invoke(object, name, call_or_read, arguments, nullptr); });
}

bool put_Property(IDispatch* object, const wchar_t* name, const _variant_t& value) noexcept {
  return run_Guarded(false, [&] { return invoke(object, name, DISPATCH_PROPERTYPUT, {value}, nullptr); });
}

std::optional<long> read_Number(IDispatch* object, const wchar_t* name) noexcept {
  return run_Guarded(std::optional<long>(), [&]() -> std::optional<long> {
    const auto answer = call_Member(object, name);
    if (!answer)
      return {};
    if (answer->vt == VT_I4)
      return answer->lVal;
    _variant_t number;
    number.ChangeType(VT_I4, &*answer);
    return number.lVal;
  });
}

bool is_Alive(IDispatch* object) noexcept {
  return read_Number(object, L"info").value_or(0) > 0;
}

std::wstring as_Text(const _variant_t& value) noexcept {
  return run_Guarded(std::wstring(), [&] {
    _variant_t text;
    text.ChangeType(VT_BSTR, &value);
    return std::wstring(text.bstrVal, SysStringLen(text.bstrVal));
  });
}

_variant_t text_Argument(std::wstring_view text) {
  _variant_t argument;
  argument.vt = VT_BSTR;
  argument.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (argument.bstrVal == nullptr)
    throw std::bad_alloc();
  return argument;
}

_variant_t hwnd_Argument(HWND hwnd) {
  return static_cast<long>(reinterpret_cast<LONG_PTR>(hwnd));
}
