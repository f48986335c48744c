#include "shellext/interface_redirection.h"

#include <windows.h>

#include "menu/composition.h"
#include "support/guid.h"
#include "support/text.h"

namespace {

struct {
  void* SavedQueryContextMenu = nullptr;
} state;  // lives as long as the module; rewritten by every exchange, whichever object made it

}  // namespace

void* patch_VTableEntry(void* interface_pointer, std::int16_t entry, void* address) {
  constexpr int width = sizeof(void*);
  auto* table = *static_cast<char**>(interface_pointer);
  // Volatile: the compiler knows the tables of its classes and would answer from that knowledge.
  auto* slot = reinterpret_cast<void* volatile*>(table + static_cast<std::int16_t>(entry * width - width));
  void* const replaced = *slot;
  DWORD protection = 0;
  if (VirtualProtect(const_cast<void**>(slot), width, PAGE_EXECUTE_READWRITE, &protection))
    *slot = address;
  else  // still attempted, but where the entry is write-protected a plain write would end Explorer
    WriteProcessMemory(GetCurrentProcess(), const_cast<void**>(slot), &address, width, nullptr);
  VirtualProtect(const_cast<void**>(slot), width, protection, &protection);
  return replaced;
}

void redirect_QueryContextMenu(IContextMenu* object) {
  state.SavedQueryContextMenu =
      patch_VTableEntry(object, context_menu_entry, reinterpret_cast<void*>(&QueryContextMenu));
}

void restore_QueryContextMenu(IContextMenu* object) {
  state.SavedQueryContextMenu = patch_VTableEntry(object, context_menu_entry, state.SavedQueryContextMenu);
}

std::wstring get_ClsidString(const std::wstring& progid) {
  CLSID clsid{};
  const HRESULT outcome = CLSIDFromProgID(progid.c_str(), &clsid);
  if (FAILED(outcome))
    return L"Bad ProgId rc::" + decimal(outcome);
  const auto text = guid_Text(clsid);
  return text.empty() ? L"Bad ClassID rc::0" : text;
}

void Main() {
  // Automation stays loaded for the life of the process, so the first menu does not wait for it.
  // cppcheck-suppress leakReturnValNotUsed
  LoadLibraryA("oleaut32.dll");
  // Older releases were registered under this name; what the look-up finds is of no use to anyone.
  static_cast<void>(get_ClsidString(L"pIContextMenu.ShellExt"));
}
