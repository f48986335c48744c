#include "components/surrogate.h"

#include <array>
#include <iterator>

#include "components/automation.h"
#include "components/patience.h"

using Microsoft::WRL::ComPtr;

namespace {

constinit Guarded<std::vector<std::unique_ptr<Surrogate>>> surrogates;

HRESULT get_Factory(REFCLSID clsid, ComPtr<IClassFactory>& factory) {
  constexpr DWORD other_bitness = CLSCTX_LOCAL_SERVER | CLSCTX_ACTIVATE_32_BIT_SERVER;
  const HRESULT outcome = CoGetClassObject(clsid, other_bitness, nullptr, IID_PPV_ARGS(&factory));
  return outcome != REGDB_E_CLASSNOTREG
             ? outcome
             : CoGetClassObject(clsid, CLSCTX_LOCAL_SERVER, nullptr, IID_PPV_ARGS(&factory));
}

}  // namespace

bool has_Ended(HRESULT outcome) {
  static constexpr std::array outcomes{RPC_E_DISCONNECTED,
                                       RPC_E_SERVER_DIED,
                                       RPC_E_SERVER_DIED_DNE,
                                       CO_E_OBJNOTCONNECTED,
                                       CO_E_SERVER_EXEC_FAILURE,
                                       HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE),
                                       HRESULT_FROM_WIN32(RPC_S_CALL_FAILED),
                                       HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE)};
  return std::ranges::find(outcomes, outcome) != outcomes.end();
}

Surrogate& find_Surrogate(REFCLSID clsid) {
  return *surrogates.with([&](auto& known) {
    const auto found = std::ranges::find_if(known, [&](const auto& one) { return one->clsid() == clsid; });
    return (found != known.end() ? *found : known.emplace_back(std::make_unique<Surrogate>(clsid))).get();
  });
}

HRESULT Surrogate::make(ComPtr<IDispatch>& object) {
  assert_Unlocked();
  HRESULT outcome =
      m_factory ? m_factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)) : HRESULT{CO_E_OBJNOTCONNECTED};
  if (has_Ended(outcome)) {  // a process may end when it has no object
    outcome = get_Factory(m_class, m_factory);
    if (SUCCEEDED(outcome))
      outcome = m_factory->CreateInstance(nullptr, IID_PPV_ARGS(&object));
  }
  if (FAILED(outcome))
    m_factory.Reset();
  m_known.with([&](Known& known) {
    known.IsServing = SUCCEEDED(outcome);
    known.Making = outcome;
    if (known.IsServing)
      known.end_Pause();
    else
      known.pause(true);
  });
  return outcome;
}

HRESULT Surrogate::call(IDispatch* object, const std::wstring& name, WORD kind,
                        std::vector<_variant_t>& arguments, _variant_t& result) {
  DISPID member = m_known.with([&](Known& known) {
    const auto found = std::ranges::find(known.Members, name, &std::pair<std::wstring, DISPID>::first);
    return found == known.Members.end() ? DISPID_UNKNOWN : found->second;
  });
  HRESULT outcome = S_OK;
  if (member == DISPID_UNKNOWN) {  // a later call is one question to the other process
    outcome = find_Member(object, name.c_str(), member);
    if (SUCCEEDED(outcome))
      m_known.with([&](Known& known) {
        known.forget_Member(name);  // another call may have asked meanwhile
        known.Members.emplace_back(name, member);
      });
  }
  if (SUCCEEDED(outcome))
    outcome = invoke_Member(object, member, kind, arguments, &result);
  m_known.with([&](Known& known) {
    if (outcome == DISP_E_MEMBERNOTFOUND)
      known.forget_Member(name);
    if (!has_Ended(outcome))
      known.end_Pause();
  });
  return outcome;
}

void Surrogate::let_Go() {
  m_factory.Reset();
  m_known.with([](Known& known) { known.IsServing = false; });
}

bool Surrogate::is_HeldUp() {
  const bool is_action = is_InAction();
  return m_known.with([is_action](const Known& known) {
    return GetTickCount64() < known.PauseEnd && (known.HoldsActions || !is_action);
  });
}

HRESULT Surrogate::last_Failure() {
  return m_known.with([](const Known& known) {
    return FAILED(known.Making) && GetTickCount64() < known.PauseEnd ? known.Making : S_OK;
  });
}

bool Surrogate::is_Serving() {
  return m_known.with([](const Known& known) { return known.IsServing; });
}

void Surrogate::note_Silence() {
  const bool is_action = is_InAction();
  m_known.with([is_action](Known& known) { known.pause(is_action || known.IsServing); });
}

void let_SurrogatesGo() {
  const auto all = surrogates.with([](const auto& known) {
    std::vector<Surrogate*> found;
    std::ranges::transform(known, std::back_inserter(found), [](const auto& one) { return one.get(); });
    return found;
  });
  for (auto* surrogate : all)
    if (surrogate->is_Serving())
      surrogate->makings().add([surrogate] { surrogate->let_Go(); });
}
