#include "base/module.h"

#include "base/text.h"

// The linker puts this symbol at the module's start, so its address is the module's handle without an entry
// point having to store it.
extern "C" IMAGE_DOS_HEADER __ImageBase;

HINSTANCE get_Module() {
  return reinterpret_cast<HINSTANCE>(&__ImageBase);
}

std::wstring get_ModulePath(HMODULE module) {
  constexpr std::size_t longest_path = 32768;
  std::wstring path(longest_path, L'\0');
  return path.substr(0, GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
}

std::wstring get_ModuleFolder() {
  return std::wstring(through_Last(get_ModulePath(), L'\\'));
}
