#include "shellext/class_factory.h"

#include <wrl/client.h>

#include <new>

#include "shellext/interface_redirection.h"
#include "shellext/module_locks.h"
#include "shellext/shell_ext.h"
#include "support/boundary.h"

namespace {

void run_MainOnce() {
  static bool done = false;
  if (!std::exchange(done, true))
    Main();
}

class ClassFactory final : public IClassFactory {
 public:
  ClassFactory() { lock_Module(); }
  ClassFactory(const ClassFactory&) = delete;
  ClassFactory& operator=(const ClassFactory&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr)
      return E_POINTER;
    const bool known = iid == __uuidof(IUnknown) || iid == __uuidof(IClassFactory);
    *object = known ? static_cast<IClassFactory*>(this) : nullptr;
    if (!known)
      return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&m_references)); }

  STDMETHODIMP_(ULONG) Release() override {
    const LONG left = InterlockedDecrement(&m_references);
    if (left == 0)
      delete this;
    return static_cast<ULONG>(left);
  }

  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr)
      return E_POINTER;
    *object = nullptr;
    if (outer != nullptr)
      return CLASS_E_NOAGGREGATION;
    run_Guarded(run_MainOnce);
    const Microsoft::WRL::ComPtr<ShellExt> created(ShellExt::create());
    return created ? created->QueryInterface(iid, object) : E_OUTOFMEMORY;
  }

  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock)
      lock_Module();
    else
      unlock_Module();
    return S_OK;
  }

 private:
  ~ClassFactory() { unlock_Module(); }

  LONG m_references = 0;
};

}  // namespace

HRESULT create_ClassFactory(REFIID iid, void** factory) noexcept {
  const Microsoft::WRL::ComPtr<ClassFactory> created(new (std::nothrow) ClassFactory);
  return created ? created->QueryInterface(iid, factory) : E_OUTOFMEMORY;
}
