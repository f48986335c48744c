#include "shellext/class_factory.h"

#include <wrl/client.h>

#include <atomic>
#include <new>

#include "base/boundary.h"
#include "base/unknown.h"
#include "shellext/class_identifiers.h"
#include "shellext/explorer_command.h"
#include "shellext/interface_redirection.h"
#include "shellext/module_locks.h"
#include "shellext/shell_ext.h"

namespace {

constinit std::atomic<bool> is_MainDone = false;

void run_MainOnce() {
  if (!is_MainDone.exchange(true))
    Main();
}

using Create = HRESULT (*)(REFIID, void**) noexcept;

HRESULT create_ShellExt(REFIID iid, void** object) noexcept {
  const Microsoft::WRL::ComPtr<ShellExt> created(ShellExt::create());
  return created ? created->QueryInterface(iid, object) : E_OUTOFMEMORY;
}

class ClassFactory final : public Unknown<IClassFactory> {
 public:
  explicit ClassFactory(Create create) : m_create(create) {}

  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr)
      return E_POINTER;
    *object = nullptr;
    if (outer != nullptr)
      return CLASS_E_NOAGGREGATION;
    run_Guarded(run_MainOnce);
    return m_create(iid, object);
  }

  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock)
      lock_Module();
    else
      unlock_Module();
    return S_OK;
  }

 private:
  ~ClassFactory() override = default;

  const Create m_create;
  const ModuleLock m_lock;
};

}  // namespace

HRESULT create_ClassFactory(REFCLSID clsid, REFIID iid, void** factory) noexcept {
  const auto create = clsid == clsid_ShellExt          ? &create_ShellExt
                      : clsid == clsid_ExplorerCommand ? &create_ExplorerCommand
                                                       : nullptr;
  if (create == nullptr)
    return CLASS_E_CLASSNOTAVAILABLE;
  const Microsoft::WRL::ComPtr<ClassFactory> created(new (std::nothrow) ClassFactory(create));
  return created ? created->QueryInterface(iid, factory) : E_OUTOFMEMORY;
}
