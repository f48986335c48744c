// What the suite's automation components share: the in-process COM server around one late-bound class. A
// component's own file supplies a `Component`; the class factory, IDispatch, the registration and the four
// exports come from here. The state is the count of references that keep the DLL loaded.
#pragma once

#include <windows.h>

#include <comdef.h>

#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace standins {

// The arguments of a call, first one first, references resolved.
using Arguments = std::span<const _variant_t>;

// Late-bound languages cannot tell a method without arguments from a property, and ask for both at once.
inline constexpr WORD call_or_read = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

// One member of a component. A property that can be read and written is two members of one name.
struct Member {
  const wchar_t* Name;
  WORD Uses;
  std::size_t ArgumentCount;
  std::function<_variant_t(Arguments)> Run;  // fails by throwing _com_error
};

// A component. `create_Members` is called for each new object; what its functions capture is the object's
// own state and ends with it.
struct Component {
  const wchar_t* FileName;  // of the DLL, without its ending
  const wchar_t* ProgId;
  CLSID ClassId;
  std::vector<Member> (*create_Members)();
};

// Each is defined in a file of its own.
// NOLINTBEGIN(bugprone-dynamic-static-initializers): declared here only
extern const Component log_component, pdf_editor_component, semaphore_component, signer_component,
    translator_component, value_store_component;
// NOLINTEND(bugprone-dynamic-static-initializers)

// The full path of the component's DLL.
std::filesystem::path find_ModuleFile();

// The argument as text; throws _com_error when it has no text form.
std::wstring as_Text(const _variant_t& argument);

// Throws the _com_error for a platform error code other than ERROR_SUCCESS.
void throw_UnlessSuccess(LSTATUS code);

}  // namespace standins
