#include "components/remote_component.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/boundary.h"
#include "base/handles.h"
#include "base/process_values.h"
#include "base/unknown.h"
#include "components/automation.h"
#include "components/patience.h"
#include "components/remote_worker.h"
#include "components/surrogate.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr IID iid_RemoteObject{0x6c5f0d1e, 0x7e0b, 0x4f3a, {0x9a, 0x27, 0x4b, 0x81, 0xd0, 0x5e, 0x93, 0x16}};

// The component's sign of life is asked for many times in a right-click, so it is believed for a moment.
constexpr std::wstring_view sign_of_life = L"info";
constexpr ULONGLONG life_milliseconds = 1000;

constinit std::atomic<long> objects = 0;

bool is_Unregistered(HRESULT outcome) {
  return outcome == REGDB_E_CLASSNOTREG || outcome == REGDB_E_KEYMISSING;
}

// Whether the value means the same in every apartment.
bool is_Plain(const VARIANT& value) {
  return value.vt <= VT_UINT && value.vt != VT_DISPATCH && value.vt != VT_UNKNOWN && value.vt != VT_VARIANT;
}

// What its caller may have stopped waiting for.
struct Answer {
  const unique_kernel_handle Given{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::atomic<bool> IsAbandoned = false;
  HRESULT Outcome = E_OUTOFMEMORY;
  _variant_t Value;
};

// An object and its calls, owned by whatever is done with it.
struct RemoteTarget {
  explicit RemoteTarget(Surrogate& process) : Process(process) { ++objects; }
  RemoteTarget(const RemoteTarget&) = delete;
  RemoteTarget& operator=(const RemoteTarget&) = delete;
  // A worker has released the object; one without an apartment may not.
  ~RemoteTarget() {
    static_cast<void>(Object.Detach());
    --objects;
  }

  struct Life {
    _variant_t Value{1L};
    ULONGLONG Asked = GetTickCount64();
    bool IsAnswered = false;
  };

  Surrogate& Process;
  const std::shared_ptr<Strand> Calls = std::make_shared<Strand>(Strand::State::Held);
  std::atomic<HRESULT> Known = S_OK;  // until the object turns out to be gone, whether it was made or not
  ComPtr<IDispatch> Object;           // the workers' own
  Guarded<Life> LastLife;
};

struct Call {
  std::wstring Name;
  WORD Kind;
  std::vector<_variant_t> Arguments;

  bool asks_ForLife() const { return Name == sign_of_life && Arguments.empty(); }
};

// Called by the workers, as is the next one.
void make_Object(RemoteTarget& target) {
  target.Known = run_Guarded(E_OUTOFMEMORY, [&] { return target.Process.make(target.Object); });
  target.Calls->begin();
}

HRESULT carry_Out(RemoteTarget& target, Call& call, _variant_t& value) {
  if (const HRESULT known = target.Known; FAILED(known))
    return known;
  HRESULT outcome = target.Process.call(target.Object.Get(), call.Name, call.Kind, call.Arguments, value);
  if (has_Ended(outcome))
    target.Known = outcome;
  if (SUCCEEDED(outcome) && !is_Plain(value)) {
    value.Clear();
    outcome = DISP_E_TYPEMISMATCH;
  }
  if (call.asks_ForLife())
    target.LastLife.with([&](RemoteTarget::Life& life) {
      life = {SUCCEEDED(outcome) ? value : _variant_t(), GetTickCount64(), true};
    });
  return outcome;
}

// What the callers hold in place of the object.
class RemoteObject final : public Unknown<IDispatch> {
 public:
  RemoteObject(Surrogate& process, DWORD answer_limit)
      : m_limit(answer_limit), m_target(std::make_shared<RemoteTarget>(process)) {}
  RemoteObject(const RemoteObject&) = delete;
  RemoteObject& operator=(const RemoteObject&) = delete;

  // Without waiting.
  void make();
  bool is_Made();
  HRESULT known() const { return m_target->Known; }
  bool is_HeldUp() const { return SUCCEEDED(known()) && m_target->Process.is_HeldUp(); }

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    return Unknown::QueryInterface(iid == iid_RemoteObject ? __uuidof(IDispatch) : iid, object);
  }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* members) override;
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD kind, DISPPARAMS* parameters, VARIANT* result,
                      EXCEPINFO*, UINT*) override;

 private:
  ~RemoteObject() override;

  HRESULT send(Call call);
  HRESULT ask(Call call, VARIANT& result);
  // The sign of life that is to be believed; nothing when it must be asked for.
  std::optional<_variant_t> known_Life();

  const DWORD m_limit;
  const std::shared_ptr<RemoteTarget> m_target;
};

void RemoteObject::make() {
  m_target->Known = m_target->Process.last_Failure();
  if (SUCCEEDED(known()) && !run_Guarded(false, [this] {
        m_target->Process.makings().add([target = m_target] { make_Object(*target); });
        return true;
      }))
    m_target->Known = E_OUTOFMEMORY;
}

bool RemoteObject::is_Made() {
  if (FAILED(known()) || m_target->Process.is_HeldUp())
    return false;
  const auto made = std::make_shared<Answer>();
  if (!made->Given)
    return false;
  m_target->Calls->add([made] { SetEvent(made->Given.get()); });
  if (wait_ForMaking(made->Given.get()))
    return SUCCEEDED(known());
  m_target->Process.note_Silence();
  return false;
}

// Nobody waits for the end of an object.
RemoteObject::~RemoteObject() {
  if (SUCCEEDED(known()))
    run_Guarded([this] { m_target->Calls->add([target = m_target] { target->Object.Reset(); }); });
}

// The members of all components by the numbers that callers know them by; those of a component are looked up
// with their first call.
constinit Guarded<std::vector<std::wstring>> member_names;

STDMETHODIMP RemoteObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* members) {
  if (count != 1)
    return E_NOTIMPL;
  return run_Guarded(E_OUTOFMEMORY, [&] {
    members[0] = member_names.with([&](auto& known) {
      auto found = std::ranges::find(known, names[0]);
      if (found == known.end())
        found = known.insert(found, names[0]);
      return static_cast<DISPID>(found - known.begin());
    });
    return S_OK;
  });
}

STDMETHODIMP RemoteObject::Invoke(DISPID member, REFIID, LCID, WORD kind, DISPPARAMS* parameters,
                                  VARIANT* result, EXCEPINFO*, UINT*) {
  return run_Guarded(E_OUTOFMEMORY, [&] {
    const std::span given(parameters->rgvarg, parameters->cArgs);
    if (!std::ranges::all_of(given, is_Plain))
      return HRESULT{DISP_E_TYPEMISMATCH};
    if (FAILED(known()))
      return known();
    Call call{member_names.with([&](auto& names) { return names.at(static_cast<std::size_t>(member)); }),
              kind, std::vector<_variant_t>(given.begin(), given.end())};
    if (result == nullptr)
      return send(std::move(call));
    if (call.asks_ForLife())
      if (auto life = known_Life()) {
        *result = life->Detach();
        return S_OK;
      }
    return ask(std::move(call), *result);
  });
}

HRESULT RemoteObject::send(Call call) {
  m_target->Calls->add([target = m_target, call = std::move(call)]() mutable {
    _variant_t unneeded;
    carry_Out(*target, call, unneeded);
  });
  return S_OK;
}

HRESULT RemoteObject::ask(Call call, VARIANT& result) {
  if (!has_Patience() || m_target->Process.is_HeldUp())
    return RPC_E_TIMEOUT;
  const auto answer = std::make_shared<Answer>();
  if (!answer->Given)
    return E_OUTOFMEMORY;
  m_target->Calls->add([target = m_target, call = std::move(call), answer]() mutable {
    if (answer->IsAbandoned)  // it must not be made late
      return;
    answer->Outcome = run_Guarded(E_OUTOFMEMORY, [&] { return carry_Out(*target, call, answer->Value); });
    SetEvent(answer->Given.get());
  });
  if (!wait_ForAnswer(answer->Given.get(), m_limit)) {
    answer->IsAbandoned = true;
    m_target->Process.note_Silence();
    return RPC_E_TIMEOUT;
  }
  if (SUCCEEDED(answer->Outcome))
    result = answer->Value.Detach();
  return answer->Outcome;
}

std::optional<_variant_t> RemoteObject::known_Life() {
  const auto now = GetTickCount64();
  const bool is_action = is_InAction();
  bool is_asked = false;
  auto believed = m_target->LastLife.with([&](RemoteTarget::Life& life) -> std::optional<_variant_t> {
    const bool is_old = now - life.Asked >= life_milliseconds;
    if (is_action && (is_old || !life.IsAnswered))
      return {};
    if (is_old) {
      is_asked = true;
      life.Asked = now;
    }
    return life.Value;
  });
  if (is_asked)
    send({std::wstring(sign_of_life), DISPATCH_METHOD | DISPATCH_PROPERTYGET, {}});
  return believed;
}

class RemoteFactory final : public Unknown<IClassFactory> {
 public:
  RemoteFactory(REFCLSID clsid, DWORD answer_limit) : m_class(clsid), m_limit(answer_limit) {}

  STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** object) override {
    return run_Guarded(E_OUTOFMEMORY, [&] {
      auto& process = find_Surrogate(m_class);
      if (const HRESULT failure = process.last_Failure(); is_Unregistered(failure))
        return failure;
      const ComPtr<RemoteObject> made(new RemoteObject(process, m_limit));
      made->make();
      if (is_InAction() && !made->is_Made())
        return HRESULT{CO_E_SERVER_EXEC_FAILURE};
      return made.CopyTo(iid, object);
    });
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }

 private:
  const CLSID m_class;
  const DWORD m_limit;
};

// Null for any other object.
ComPtr<RemoteObject> as_Remote(IDispatch* object) noexcept {
  ComPtr<IDispatch> remote;
  if (object == nullptr ||
      FAILED(object->QueryInterface(iid_RemoteObject, reinterpret_cast<void**>(remote.GetAddressOf()))))
    return {};
  return static_cast<RemoteObject*>(remote.Get());
}

}  // namespace

ComPtr<IClassFactory> make_RemoteFactory(REFCLSID clsid, DWORD answer_limit) {
  return ComPtr<IClassFactory>(new RemoteFactory(clsid, answer_limit));
}

bool is_RemoteObject(IDispatch* object) noexcept {
  return as_Remote(object) != nullptr;
}

bool is_GoneObject(IDispatch* object) noexcept {
  const auto remote = as_Remote(object);
  return remote && FAILED(remote->known());
}

bool is_HeldUpObject(IDispatch* object) noexcept {
  const auto remote = as_Remote(object);
  return remote && remote->is_HeldUp();
}

// A new object may come meanwhile, from another thread: it has its worker all the same, and the process is
// asked for a factory again.
bool end_RemoteWork() noexcept {
  if (objects != 0)
    return false;
  run_Guarded(let_SurrogatesGo);
  return end_Workers();
}
