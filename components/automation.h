// Late-bound automation: members of an object called by name. Nothing here throws or reports, except
// `find_Member` and `invoke_Member`; a call that fails in any way (no object, no such member, a wrong answer)
// yields nothing. No state.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <comutil.h>
#include <wrl/client.h>

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

using AutomationObject = Microsoft::WRL::ComPtr<IDispatch>;

// The two steps of a call by name; the arguments stand in the reverse of their written order.
HRESULT find_Member(IDispatch* object, const wchar_t* name, DISPID& member);
HRESULT invoke_Member(IDispatch* object, DISPID member, WORD kind, std::span<_variant_t> reversed_arguments,
                      _variant_t* result);

// Calls a method, or reads a property, with the arguments in their written order. Nothing when it failed.
std::optional<_variant_t> call_Member(IDispatch* object, const wchar_t* name,
                                      std::initializer_list<_variant_t> arguments = {}) noexcept;

// Calls a method whose answer nobody needs: one of a component in another process is sent and not waited for.
void send_Member(IDispatch* object, const wchar_t* name,
                 std::initializer_list<_variant_t> arguments = {}) noexcept;

// Sets a property; one of a component in another process in the same way. False when it failed.
bool put_Property(IDispatch* object, const wchar_t* name, const _variant_t& value) noexcept;

// The member as a 32-bit number; nothing when it failed or is no number.
std::optional<long> read_Number(IDispatch* object, const wchar_t* name) noexcept;

// The sign of life of a suite component: its member `info` answers with a number above 0.
bool is_Alive(IDispatch* object) noexcept;

// The value as text; the empty text for one that has none, arrays and objects for example.
std::wstring as_Text(const _variant_t& value) noexcept;

// A text as an automation argument.
_variant_t text_Argument(std::wstring_view text);

// A window handle as an automation argument: its low 32 bits, which are all that a window handle has.
_variant_t hwnd_Argument(HWND hwnd);
