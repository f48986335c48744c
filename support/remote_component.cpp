#include "support/remote_component.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/automation.h"
#include "support/boundary.h"
#include "support/guid.h"
#include "support/handles.h"
#include "support/module.h"

using Microsoft::WRL::ComPtr;

namespace {

// An object for the workers. They alone make, call and release it, since it belongs to their apartment.
using Proxy = ComPtr<IDispatch>;

// Both are kept: starting the process anew takes longer than a right-click may, and so would asking it for
// the members of each object.
struct KnownClass {
  CLSID Id;
  ComPtr<IClassFactory> Factory;
  std::map<std::wstring, DISPID> Members;
};

struct Worker;
using Routine =
    std::function<HRESULT(Worker&)>;  // owns all that it works on: its caller may have stopped waiting

struct Task {
  CLSID Class;
  Routine Run;
  bool IsAwaited;
};

struct Worker {
  SRWLOCK Lock = SRWLOCK_INIT;
  CONDITION_VARIABLE Changed = CONDITION_VARIABLE_INIT;
  std::list<Task> Tasks;  // this and the next three under the lock
  CLSID Class{};          // of the task at work
  bool Ends = false;
  bool HasEnded = false;
  HRESULT Outcome = S_OK;  // of the task that is awaited, once that is done
  const unique_kernel_handle Done{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  unique_kernel_handle Thread;
  std::deque<KnownClass> Classes;  // the thread's own
  bool IsTaken = false;            // by a caller; under the lock of the state
};

using SharedWorker = std::shared_ptr<Worker>;

struct MissingSurrogate {
  std::wstring Name;
  SharedWorker HeldUp;  // by a call to it; null for a process that has ended
};

struct {
  SRWLOCK Lock = SRWLOCK_INIT;
  std::vector<SharedWorker> Workers;  // this and the next one under the lock
  std::vector<MissingSurrogate> Missing;
  std::atomic<long> Threads = 0;
} state;  // lives as long as the module

class Locked {
 public:
  explicit Locked(SRWLOCK& lock) : m_lock(&lock) { AcquireSRWLockExclusive(m_lock); }
  ~Locked() { ReleaseSRWLockExclusive(m_lock); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  SRWLOCK* m_lock;
};

// The next task; none when the worker is to end.
Task take_Task(Worker& worker) {
  const Locked lock(worker.Lock);
  while (worker.Tasks.empty() && !worker.Ends)
    SleepConditionVariableSRW(&worker.Changed, &worker.Lock, INFINITE, 0);
  if (worker.Ends)
    return {};
  auto task = std::move(worker.Tasks.front());
  worker.Tasks.pop_front();
  worker.Class = task.Class;
  return task;
}

void run_Tasks(Worker& worker) {
  for (auto task = take_Task(worker); task.Run; task = take_Task(worker)) {
    const HRESULT outcome = run_Guarded(E_OUTOFMEMORY, [&] { return task.Run(worker); });
    task.Run = nullptr;
    if (!task.IsAwaited)
      continue;
    worker.Outcome = outcome;
    SetEvent(worker.Done.get());
  }
}

void drop_Tasks(Worker& worker) {
  std::list<Task> dropped;
  const Locked lock(worker.Lock);
  worker.HasEnded = true;
  dropped.swap(worker.Tasks);
}

DWORD WINAPI run_Worker(void* argument) {
  {
    const std::unique_ptr<SharedWorker> own(static_cast<SharedWorker*>(argument));
    Worker& worker = **own;
    const HRESULT entered = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    run_Tasks(worker);
    // A call that nobody waits for any more must not be made late; what the tasks own is released.
    drop_Tasks(worker);
    worker.Classes.clear();
    if (SUCCEEDED(entered))
      CoUninitialize();
  }
  --state.Threads;
  FreeLibraryAndExitThread(get_Module(), 0);
}

SharedWorker start_Worker() {
  auto worker = std::make_shared<Worker>();
  auto argument = std::make_unique<SharedWorker>(worker);
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const wchar_t*>(get_Module()),
                     &module);
  ++state.Threads;
  worker->Thread.reset(worker->Done ? CreateThread(nullptr, 0, run_Worker, argument.get(), 0, nullptr)
                                    : nullptr);
  if (!worker->Thread) {
    --state.Threads;
    FreeLibrary(module);
    throw std::bad_alloc();
  }
  static_cast<void>(argument.release());
  return worker;
}

void add_Worker() {
  state.Workers.reserve(state.Workers.size() + 1);  // a thread that has started has its place
  state.Workers.push_back(start_Worker());
}

// A worker that nobody else waits for, the caller's until it is given back: each thread that calls has one.
SharedWorker take_Worker() {
  const Locked lock(state.Lock);
  auto free = std::ranges::find_if(state.Workers, [](const auto& worker) { return !worker->IsTaken; });
  if (free == state.Workers.end()) {
    add_Worker();
    free = std::prev(state.Workers.end());
  }
  (*free)->IsTaken = true;
  return *free;
}

void give_Back(Worker& worker) {
  const Locked lock(state.Lock);
  worker.IsTaken = false;
}

void end_Worker(Worker& worker) {
  {
    const Locked lock(worker.Lock);
    worker.Ends = true;
  }
  WakeConditionVariable(&worker.Changed);
}

CLSID class_AtWork(Worker& worker) {
  const Locked lock(worker.Lock);
  return worker.Class;
}

// Takes the task over, since the caller must not be the last one to own an object. False when the worker has
// ended; the task is as it was then.
bool hand_Over(Worker& worker, Task& task) {
  const Locked lock(worker.Lock);
  if (worker.HasEnded)
    return false;
  worker.Tasks.push_back(std::move(task));
  WakeConditionVariable(&worker.Changed);
  return true;
}

// The process that serves the class, by the name under which the system starts it.
std::wstring surrogate_Of(REFCLSID clsid) {
  auto id = guid_Text(clsid);
  HKEY opened = nullptr;
  RegOpenKeyExW(HKEY_CLASSES_ROOT, (LR"(CLSID\)" + id).c_str(), 0, KEY_READ | KEY_WOW64_32KEY, &opened);
  const unique_hkey key(opened);
  std::wstring application = id + L'\0';
  auto bytes = static_cast<DWORD>(application.size() * sizeof application[0]);
  const LSTATUS read =
      RegGetValueW(key.get(), nullptr, L"AppID", RRF_RT_REG_SZ, nullptr, application.data(), &bytes);
  if (read != ERROR_SUCCESS)
    return id;
  application.resize(bytes / sizeof application[0] - 1);
  return application;
}

// Nothing while the process of the class is not known to be missing.
std::optional<MissingSurrogate> find_Missing(REFCLSID clsid) {
  {
    const Locked lock(state.Lock);
    if (state.Missing.empty())
      return {};
  }
  const auto name = surrogate_Of(clsid);
  const Locked lock(state.Lock);
  const auto found = std::ranges::find(state.Missing, name, &MissingSurrogate::Name);
  return found == state.Missing.end() ? std::nullopt : std::optional(*found);
}

void add_Missing(REFCLSID clsid, SharedWorker held_up) {
  MissingSurrogate missing{surrogate_Of(clsid), std::move(held_up)};
  const Locked lock(state.Lock);
  state.Missing.push_back(std::move(missing));
}

// Whether the outcome tells that the process has ended, could not be reached or not be started.
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

// A long wait answers what other threads send to this thread's windows, which may own a component's dialog;
// input and Explorer's own messages stay where they are.
bool wait_For(HANDLE done, DWORD limit) {
  if (limit <= quick_answer)
    return WaitForSingleObject(done, limit) == WAIT_OBJECT_0;
  const auto end = GetTickCount64() + limit;
  for (auto now = end - limit; now < end; now = GetTickCount64()) {
    if (MsgWaitForMultipleObjects(1, &done, FALSE, static_cast<DWORD>(end - now), QS_SENDMESSAGE) ==
        WAIT_OBJECT_0)
      return true;
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
  }
  return false;
}

// Another worker takes the place of one that is held up, at once: the apartment, and with it all objects,
// would end with its last thread.
void abandon(const SharedWorker& held_up) {
  end_Worker(*held_up);
  {
    const Locked lock(state.Lock);
    std::erase(state.Workers, held_up);
    if (state.Workers.empty())
      add_Worker();
  }
  add_Missing(class_AtWork(*held_up), held_up);
}

// Has a worker that the caller has taken run the task, which is awaited.
HRESULT await(const SharedWorker& worker, Task& task, DWORD limit) {
  const auto clsid = task.Class;
  hand_Over(*worker, task);
  if (!wait_For(worker->Done.get(), limit)) {
    abandon(worker);
    return RPC_E_TIMEOUT;
  }
  if (has_Ended(worker->Outcome))
    add_Missing(clsid, {});
  return worker->Outcome;
}

HRESULT run_Remotely(REFCLSID clsid, DWORD limit, Routine routine) {
  return run_Guarded(E_OUTOFMEMORY, [&] {
    if (find_Missing(clsid))
      return CO_E_OBJNOTCONNECTED;
    const auto worker = take_Worker();
    const ScopeExit done([&worker] { give_Back(*worker); });
    Task task{clsid, std::move(routine), true};
    return await(worker, task, limit);
  });
}

HRESULT get_Factory(REFCLSID clsid, ComPtr<IClassFactory>& factory) {
  constexpr DWORD other_bitness = CLSCTX_LOCAL_SERVER | CLSCTX_ACTIVATE_32_BIT_SERVER;
  const HRESULT outcome = CoGetClassObject(clsid, other_bitness, nullptr, IID_PPV_ARGS(&factory));
  return outcome != REGDB_E_CLASSNOTREG
             ? outcome
             : CoGetClassObject(clsid, CLSCTX_LOCAL_SERVER, nullptr, IID_PPV_ARGS(&factory));
}

KnownClass& know_Class(Worker& worker, REFCLSID clsid) {
  const auto known = std::ranges::find(worker.Classes, clsid, &KnownClass::Id);
  return known == worker.Classes.end() ? worker.Classes.emplace_back(KnownClass{clsid, {}, {}}) : *known;
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
class RemoteObject final : public IDispatch {
 public:
  RemoteObject(REFCLSID clsid, DWORD answer_limit)
      : m_class(clsid), m_limit(answer_limit), m_proxy(std::make_shared<Proxy>()) {}

  RemoteObject(const RemoteObject&) = delete;
  RemoteObject& operator=(const RemoteObject&) = delete;
  HRESULT make();

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool is_known = iid == __uuidof(IUnknown) || iid == __uuidof(IDispatch);
    *object = is_known ? this : nullptr;
    if (is_known)
      AddRef();
    return is_known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&m_references)); }
  STDMETHODIMP_(ULONG) Release() override {
    const LONG left = InterlockedDecrement(&m_references);
    if (left == 0)
      delete this;
    return static_cast<ULONG>(left);
  }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* members) override;
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD kind, DISPPARAMS* parameters, VARIANT* result,
                      EXCEPINFO*, UINT*) override;

 private:
  ~RemoteObject();

  const CLSID m_class;
  const DWORD m_limit;
  std::shared_ptr<Proxy> m_proxy;
  std::vector<std::wstring> m_names;  // at the places that the callers know them by
  _variant_t m_life;                  // the last sign, and its time
  ULONGLONG m_life_time = 0;
  LONG m_references = 0;
};

HRESULT RemoteObject::make() {
  return run_Remotely(m_class, quick_answer, [clsid = m_class, proxy = m_proxy](Worker& worker) {
    return make_Object(know_Class(worker, clsid), *proxy);
  });
}

// Nobody waits for the end of an object, but for that of one that may have kept others waiting.
RemoteObject::~RemoteObject() {
  run_Guarded([&] {
    const auto missing = find_Missing(m_class);
    Task release{m_class, [proxy = std::move(m_proxy)](Worker&) { return S_OK; }, false};
    // Another worker would only be held up in its turn.
    if (missing && missing->HeldUp && hand_Over(*missing->HeldUp, release))
      return;
    const auto worker = take_Worker();
    const ScopeExit done([&worker] { give_Back(*worker); });
    release.IsAwaited = m_limit > quick_answer;
    if (release.IsAwaited)
      await(worker, release, quick_answer);
    else
      hand_Over(*worker, release);
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
        !find_Missing(m_class))
      return VariantCopy(result, &m_life);
    const auto answer = std::make_shared<_variant_t>();
    const HRESULT outcome = run_Remotely(
        m_class, m_limit,
        [proxy = m_proxy, name, kind, arguments = std::vector<_variant_t>(given.begin(), given.end()), answer,
         clsid = m_class](Worker& worker) mutable {
          const HRESULT called =
              call_Object(know_Class(worker, clsid), proxy->Get(), name, kind, arguments, *answer);
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

bool end_RemoteWork() noexcept {
  std::vector<SharedWorker> workers;
  {
    const Locked lock(state.Lock);
    workers.swap(state.Workers);
  }
  for (const auto& worker : workers) {
    end_Worker(*worker);
    WaitForSingleObject(worker->Thread.get(), quick_answer);
  }
  return state.Threads == 0;
}
