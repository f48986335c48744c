// The entries of the DLL. Nothing is done when it is loaded.
#include <windows.h>

#include <ole2.h>

#include "base/apartment.h"
#include "base/module.h"
#include "components/remote_component.h"
#include "runtime/stack_guard.h"
#include "shellext/class_factory.h"
#include "shellext/class_identifiers.h"
#include "shellext/module_locks.h"
#include "shellext/registration.h"
#include "shellext/shell_ext.h"

// Gives back what the process keeps for the threads when the DLL alone goes; at the end of the process
// nothing.
// cppcheck-suppress constParameter ; the form is the system's
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* process_ends) {
  if (reason == DLL_PROCESS_DETACH && process_ends == nullptr)
    end_Apartments();
  return TRUE;
}

// A class factory for `ShellExt`; CLASS_E_CLASSNOTAVAILABLE for every other class.
STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** factory) {
  choose_StackGuard();
  if (factory == nullptr)
    return E_POINTER;
  *factory = nullptr;
  return clsid == clsid_ShellExt ? create_ClassFactory(iid, factory) : CLASS_E_CLASSNOTAVAILABLE;
}

// S_OK when no object, factory, server lock, call to a component or other thread needs the module; what this
// thread still keeps is released then.
STDAPI DllCanUnloadNow() {
  choose_StackGuard();
  if (is_ModuleLocked())
    return S_FALSE;
  leave_Apartment();
  if (are_ApartmentsLeft())
    return S_FALSE;
  if constexpr (!is_SuitesBitness)
    return end_RemoteWork() ? S_OK : S_FALSE;
  return S_OK;
}

// Registers the class, its ProgID and the type library; all or nothing.
STDAPI DllRegisterServer() {
  choose_StackGuard();
  return register_Module();
}

// Removes what DllRegisterServer wrote.
STDAPI DllUnregisterServer() {
  choose_StackGuard();
  return unregister_Module();
}
