#include "support/remote_component.h"

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/automation.h"
#include "support/boundary.h"
#include "support/remote_worker.h"
#include "support/unknown.h"

using Microsoft::WRL::ComPtr;

namespace {

// An object for the workers. They alone make, call and release it, since it belongs to their apartment.
using Proxy = ComPtr<IDispatch>;

HRESULT get_Factory(REFCLSID clsid, ComPtr<IClassFactory>& factory) {
  constexpr DWORD other_bitness = CLSCTX_LOCAL_SERVER | CLSCTX_ACTIVATE_32_BIT_SERVER;
  const HRESULT outcome = CoGetClassObject(clsid, other_bitness, nullptr, IID_PPV_ARGS(&factory));
  return outcome != REGDB_E_CLASSNOTREG
             ? outcome
             : CoGetClassObject(clsid, CLSCTX_LOCAL_SERVER, nullptr, IID_PPV_ARGS(&factory));
}

HRESULT make_Object(KnownClass& known, Proxy& object) {
  HRESULT outcome = CO_E_OBJNOTCONNECTED;
  if (known.Factory)
    outcome = known.Factory->CreateInstance(nullptr, IID_PPV_ARGS(&object));
  if (has_Ended(outcome)) {  // a process may end when it has no object
    outcome = get_Factory(known.Id, known.Factory);
    if (SUCCEEDED(outcome))
      outcome = known.Factory->CreateInstance(nullptr, IID_PPV_ARGS(&object));
  }
  if (FAILED(outcome))
    known.Factory.Reset();
  return outcome;
}

HRESULT call_Object(KnownClass& known, IDispatch* object, const std::wstring& name, WORD kind,
                    std::vector<_variant_t>& arguments, _variant_t& result) {
  auto member = known.Members.find(name);
  if (member == known.Members.end()) {
    DISPID found = DISPID_UNKNOWN;
    if (const HRESULT outcome = find_Member(object, name.c_str(), found); FAILED(outcome))
      return outcome;
    member = known.Members.emplace(name, found).first;
  }
  const HRESULT outcome = invoke_Member(object, member->second, kind, arguments, result);
  if (outcome == DISP_E_MEMBERNOTFOUND)
    known.Members.erase(member);
  return outcome;
}

// Whether the value means the same in every apartment.
bool is_Plain(const VARIANT& value) {
  return value.vt <= VT_UINT && value.vt != VT_DISPATCH && value.vt != VT_UNKNOWN && value.vt != VT_VARIANT;
}

// The component's sign of life is asked for many times in a right-click, so it is believed for a moment.
constexpr std::wstring_view sign_of_life = L"info";
constexpr ULONGLONG life_milliseconds = 1000;

// What the callers hold in place of the object.
class RemoteObject final : public Unknown<IDispatch> {
 public:
  RemoteObject(REFCLSID clsid, DWORD answer_limit)
      : m_class(clsid), m_limit(answer_limit), m_proxy(std::make_shared<Proxy>()) {}

  HRESULT make();

  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* members) override;
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD kind, DISPPARAMS* parameters, VARIANT* result,
                      EXCEPINFO*, UINT*) override;

 private:
  ~RemoteObject() override;

  const CLSID m_class;
  const DWORD m_limit;
  std::shared_ptr<Proxy> m_proxy;
  std::vector<std::wstring> m_names;  // at the places that the callers know them by
  _variant_t m_life;                  // the last sign, and its time
  ULONGLONG m_life_time = 0;
};

HRESULT RemoteObject::make() {
  return run_Remotely(m_class, quick_answer,
                      [proxy = m_proxy](KnownClass& known) { return make_Object(known, *proxy); });
}

// Nobody waits for the end of an object, but for that of one that may have kept others waiting.
RemoteObject::~RemoteObject() {
  run_Guarded([&] {
    release_Remotely(
        m_class, [proxy = std::move(m_proxy)](KnownClass&) { return S_OK; }, m_limit > quick_answer);
  });
}

// The member is looked up with its first call, so that a later one is one question to the other process.
STDMETHODIMP RemoteObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* members) {
  if (count != 1)
    return E_NOTIMPL;
  return run_Guarded(E_OUTOFMEMORY, [&] {
    auto known = std::ranges::find(m_names, names[0]);
    if (known == m_names.end())
      known = m_names.insert(known, names[0]);
    members[0] = static_cast<DISPID>(known - m_names.begin());
    return S_OK;
  });
}

STDMETHODIMP RemoteObject::Invoke(DISPID member, REFIID, LCID, WORD kind, DISPPARAMS* parameters,
                                  VARIANT* result, EXCEPINFO*, UINT*) {
  return run_Guarded(E_OUTOFMEMORY, [&] {
    const std::span given(parameters->rgvarg, parameters->cArgs);
    if (!std::ranges::all_of(given, is_Plain))
      return DISP_E_TYPEMISMATCH;
    const auto& name = m_names.at(static_cast<std::size_t>(member));
    const bool asks_ForLife = name == sign_of_life && given.empty();
    if (asks_ForLife && m_life.vt != VT_EMPTY && GetTickCount64() - m_life_time < life_milliseconds &&
        !is_SurrogateMissing(m_class))
      return VariantCopy(result, &m_life);
    const auto answer = std::make_shared<_variant_t>();
    const HRESULT outcome = run_Remotely(
        m_class, m_limit,
        [proxy = m_proxy, name, kind, arguments = std::vector<_variant_t>(given.begin(), given.end()),
         answer](KnownClass& known) mutable {
          const HRESULT called = call_Object(known, proxy->Get(), name, kind, arguments, *answer);
          if (is_Plain(*answer))
            return called;
          answer->Clear();
          return DISP_E_TYPEMISMATCH;
        });
    if (asks_ForLife) {
      m_life = SUCCEEDED(outcome) ? *answer : _variant_t();
      m_life_time = GetTickCount64();
    }
    if (SUCCEEDED(outcome))
      *result = answer->Detach();
    return outcome;
  });
}

ComPtr<IDispatch> make_RemoteObject(REFCLSID clsid, DWORD answer_limit) {
  const ComPtr<RemoteObject> object(new RemoteObject(clsid, answer_limit));
  return SUCCEEDED(object->make()) ? ComPtr<IDispatch>(object) : ComPtr<IDispatch>();
}

}  // namespace

ComPtr<IDispatch> create_RemoteObject(REFCLSID clsid, DWORD answer_limit) noexcept {
  return run_Guarded(ComPtr<IDispatch>(), [&] { return make_RemoteObject(clsid, answer_limit); });
}
