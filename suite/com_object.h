// What every COM object of the suite's components needs, and of those that stand in for them: QueryInterface
// and the reference count of a class that implements one interface.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>

namespace suite {

/// A new object has no reference yet: its first ComPtr takes it, and ends it when it has no such interface as
/// the caller asks for.
template <typename Interface>
class ComObject : public Interface {
 public:
  virtual ~ComObject() = default;
  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) {
      return E_POINTER;
    }
    const bool known = iid == __uuidof(IUnknown) || iid == __uuidof(Interface);
    *object = known ? static_cast<Interface*>(this) : nullptr;
    if (!known) {
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --m_references;
    if (left == 0) {
      delete this;
    }
    return left;
  }

 private:
  std::atomic<ULONG> m_references = 0;
};

}  // namespace suite
