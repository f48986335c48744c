#include "shellext/class_factory.h"

#include <wrl/client.h>

#include <atomic>
#include <new>

#include "base/boundary.h"
#include "base/unknown.h"
#include "shellext/interface_redirection.h"
#include "shellext/module_locks.h"
#include "shellext/shell_ext.h"

namespace {

constinit std::atomic<bool> is_MainDone = false;

void run_MainOnce() {
  if (!is_MainDone.exchange(true))
    Main();
}

class ClassFactory final : public Unknown<IClassFactory> {
 public:
  ClassFactory() { lock_Module(); }
  ClassFactory(const ClassFactory&) = delete;
  ClassFactory& operator=(const ClassFactory&) = delete;

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
  ~ClassFactory() override { unlock_Module(); }
};

}  // namespace

HRESULT create_ClassFactory(REFIID iid, void** factory) noexcept {
  const Microsoft::WRL::ComPtr<ClassFactory> created(new (std::nothrow) ClassFactory);
  return created ? created->QueryInterface(iid, factory) : E_OUTOFMEMORY;
}
