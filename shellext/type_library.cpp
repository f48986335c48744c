#include "shellext/type_library.h"

#include <wrl/client.h>

#include "base/boundary.h"
#include "base/module.h"
#include "shellext/class_identifiers.h"

HRESULT load_TypeLibrary(ITypeLib** library) noexcept {
  return run_Guarded(E_OUTOFMEMORY,
                     [&] { return LoadTypeLibEx(get_ModulePath().c_str(), REGKIND_NONE, library); });
}

HRESULT load_TypeInfo(ITypeInfo** type_info) noexcept {
  Microsoft::WRL::ComPtr<ITypeLib> library;
  const HRESULT outcome = load_TypeLibrary(&library);
  return FAILED(outcome) ? outcome : library->GetTypeInfoOfGuid(iid_ShellExt, type_info);
}
