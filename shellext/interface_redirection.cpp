#include "shellext/interface_redirection.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "base/guid.h"
#include "base/process_values.h"
#include "base/text.h"
#include "menu/composition.h"
#include "suite/diagnostic_log.h"

namespace {

// The method table of all objects, and the value that its exchanged entry had, which every exchange rewrites,
// whichever object makes it. Nothing but memory is touched under the lock.
struct Redirection {
  std::array<void*, context_menu_methods> MethodTable{};
  void* SavedQueryContextMenu = nullptr;
};

constinit Guarded<Redirection> redirection;

bool is_Writable(const void* memory) {
  constexpr DWORD writable = PAGE_READWRITE | PAGE_EXECUTE_READWRITE | PAGE_WRITECOPY;
  MEMORY_BASIC_INFORMATION page{};
  return VirtualQuery(memory, &page, sizeof page) != 0 && (page.Protect & writable) != 0;
}

// Makes the memory writable for as long as it lives, by the first of the ways that is allowed: a process may
// forbid writable code, and the table of a class need not be code.
class WritableMemory {
 public:
  WritableMemory(void* memory, std::size_t size)
      : m_memory(memory),
        m_size(size),
        m_is_changed(VirtualProtect(memory, size, PAGE_EXECUTE_READWRITE, &m_protection) ||
                     VirtualProtect(memory, size, PAGE_READWRITE, &m_protection)) {}
  ~WritableMemory() {
    if (m_is_changed)
      VirtualProtect(m_memory, m_size, m_protection, &m_protection);
  }
  WritableMemory(const WritableMemory&) = delete;
  WritableMemory& operator=(const WritableMemory&) = delete;

  bool succeeded() const { return m_is_changed; }

 private:
  void* m_memory;
  std::size_t m_size;
  DWORD m_protection = 0;
  bool m_is_changed;
};

}  // namespace

void* patch_VTableEntry(void* interface_pointer, std::int16_t entry, void* address) {
  constexpr int size = sizeof(void*);
  auto* table = *static_cast<char**>(interface_pointer);
  // Volatile: the compiler knows the tables of its classes and would answer from that knowledge.
  auto* slot = reinterpret_cast<void* volatile*>(table + static_cast<std::int16_t>(entry * size - size));
  void* const replaced = *slot;
  if (replaced == address)
    return replaced;
  if (is_Writable(const_cast<void**>(slot))) {
    *slot = address;
    return replaced;
  }
  const WritableMemory memory(const_cast<void**>(slot), size);
  if (memory.succeeded())
    *slot = address;
  else  // still attempted, but where the entry is write-protected a plain write would end Explorer
    WriteProcessMemory(GetCurrentProcess(), const_cast<void**>(slot), &address, size, nullptr);
  return replaced;
}

void use_WritableMethodTable(IContextMenu* object) {
  redirection.with([object](Redirection& own) {
    auto* const table = reinterpret_cast<void* const* volatile*>(object);
    if (own.MethodTable.front() == nullptr)
      std::copy_n(*table, own.MethodTable.size(), own.MethodTable.begin());
    *table = own.MethodTable.data();
  });
}

void redirect_QueryContextMenu(IContextMenu* object) {
  redirection.with([object](Redirection& exchange) {
    exchange.SavedQueryContextMenu =
        patch_VTableEntry(object, context_menu_entry, reinterpret_cast<void*>(&QueryContextMenu));
  });
}

void restore_QueryContextMenu(IContextMenu* object) {
  redirection.with([object](Redirection& exchange) {
    exchange.SavedQueryContextMenu =
        patch_VTableEntry(object, context_menu_entry, exchange.SavedQueryContextMenu);
  });
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
  use_DiagnosticLog();
  // Automation stays loaded for the life of the process, so the first menu does not wait for it.
  // cppcheck-suppress leakReturnValNotUsed
  LoadLibraryA("oleaut32.dll");
  // Older releases were registered under this name; what the look-up finds is of no use to anyone.
  static_cast<void>(get_ClsidString(L"pIContextMenu.ShellExt"));
}
