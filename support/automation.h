// Late-bound automation: objects made from a ProgID, their members called by name. Nothing here throws or
// reports; a call that fails in any way (no object, no such member, a wrong answer) yields nothing. An object
// belongs to the thread that made it (support/apartment.h), as do the factories that are kept there.
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

// How long the answer of a component in another process is waited for in a picked action, in milliseconds.
// That of one that works on files or waits for others may take longer. In-process components answer when they
// do.
constexpr DWORD quick_answer = 2500;
constexpr DWORD answer_AfterWork = 600'000;

// A new object of the class registered under the ProgID; null when there is none or it cannot be made.
// One in another process may turn out not to be made later, and its calls fail then
// (support/remote_component.h).
AutomationObject create_Object(const wchar_t* progid, DWORD answer_limit = quick_answer) noexcept;

// Runs the registration entry point of a COM server DLL. False when the path is no full one, or the file
// cannot be loaded, has no such entry or the entry fails.
bool register_Server(const std::wstring& path) noexcept;

// `create_Object`; when that fails, each of the DLLs is registered and the object is tried once more.
AutomationObject create_OrRegister(const wchar_t* progid, std::initializer_list<std::wstring> servers,
                                   DWORD answer_limit = quick_answer) noexcept;

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
