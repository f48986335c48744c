// The base of the COM classes that are written here: it counts references and answers for its interfaces.
#pragma once

#include <windows.h>

#include <unknwn.h>

// A class of these interfaces; the first stands for the object's identity. Its objects are made with `new`,
// without references, and end with the last one.
template <typename Identity, typename... Others>
class Unknown : public Identity, public Others... {
 public:
  Unknown() = default;
  Unknown(const Unknown&) = delete;
  Unknown& operator=(const Unknown&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr)
      return E_POINTER;
    const bool is_identity = iid == __uuidof(IUnknown) || iid == __uuidof(Identity);
    *object = is_identity ? static_cast<Identity*>(this) : nullptr;
    ((iid == __uuidof(Others) ? * object = static_cast<Others*>(this) : nullptr), ...);
    if (*object == nullptr)
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

 protected:
  virtual ~Unknown() = default;

 private:
  LONG m_references = 0;
};
