// The entries of the DLL. Nothing is done when it is loaded.
#include <windows.h>

#include <ole2.h>

#include "base/apartment.h"
#include "base/module.h"
#include "components/remote_component.h"
#include "runtime/stack_guard.h"
#include "shellext/class_factory.h"
#include "shellext/module_locks.h"
#include "shellext/registration.h"

// What the compiler's runtime does when the DLL comes and goes.
extern "C" BOOL WINAPI DllMainCRTStartup(HINSTANCE module, DWORD reason, void* process_ends);

// The first function that the system calls. At the end of a process its other threads have been stopped
// wherever they were, with whatever they had locked, and all that the DLL has goes with the process: then
// nothing is released, and no destructor runs. Threads that begin and end do not concern the DLL.
extern "C" BOOL WINAPI enter_Module(HINSTANCE module, DWORD reason, void* process_ends) {
  const bool comes = reason == DLL_PROCESS_ATTACH;
  const bool goes_alone = reason == DLL_PROCESS_DETACH && process_ends == nullptr;
  if (goes_alone)
    end_Apartments();
  return comes || goes_alone ? DllMainCRTStartup(module, reason, process_ends) : TRUE;
}

// A class factory for either menu's class; CLASS_E_CLASSNOTAVAILABLE for every other class.
STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** factory) {
  choose_StackGuard();
  if (factory == nullptr)
    return E_POINTER;
  *factory = nullptr;
  return create_ClassFactory(clsid, iid, factory);
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
