#include "support/remote_worker.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <iterator>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/automation.h"
#include "support/boundary.h"
#include "support/guid.h"
#include "support/handles.h"
#include "support/module.h"
#include "support/process_values.h"

namespace {

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
} worker_state;  // lives as long as the module

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

KnownClass& know_Class(Worker& worker, REFCLSID clsid) {
  const auto known = std::ranges::find(worker.Classes, clsid, &KnownClass::Id);
  return known == worker.Classes.end() ? worker.Classes.emplace_back(KnownClass{clsid, {}, {}}) : *known;
}

void run_Tasks(Worker& worker) {
  for (auto task = take_Task(worker); task.Run; task = take_Task(worker)) {
    const HRESULT outcome =
        run_Guarded(E_OUTOFMEMORY, [&] { return task.Run(know_Class(worker, task.Class)); });
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
  --worker_state.Threads;
  FreeLibraryAndExitThread(get_Module(), 0);
}

SharedWorker start_Worker() {
  auto worker = std::make_shared<Worker>();
  auto argument = std::make_unique<SharedWorker>(worker);
  HMODULE module = nullptr;  // a thread without a reference of its own would give back somebody else's
  if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<const wchar_t*>(get_Module()), &module) == FALSE)
    throw std::bad_alloc();
  ++worker_state.Threads;
  worker->Thread.reset(worker->Done ? CreateThread(nullptr, 0, run_Worker, argument.get(), 0, nullptr)
                                    : nullptr);
  if (!worker->Thread) {
    --worker_state.Threads;
    FreeLibrary(module);
    throw std::bad_alloc();
  }
  static_cast<void>(argument.release());
  return worker;
}

void add_Worker() {
  worker_state.Workers.reserve(worker_state.Workers.size() + 1);  // a thread that has started has its place
  worker_state.Workers.push_back(start_Worker());
}

// A worker that nobody else waits for, the caller's until it is given back: each thread that calls has one.
SharedWorker take_Worker() {
  const Locked lock(worker_state.Lock);
  auto free = std::ranges::find_if(worker_state.Workers, [](const auto& worker) { return !worker->IsTaken; });
  if (free == worker_state.Workers.end()) {
    add_Worker();
    free = std::prev(worker_state.Workers.end());
  }
  (*free)->IsTaken = true;
  return *free;
}

void give_Back(Worker& worker) {
  const Locked lock(worker_state.Lock);
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
    const Locked lock(worker_state.Lock);
    if (worker_state.Missing.empty())
      return {};
  }
  const auto name = surrogate_Of(clsid);
  const Locked lock(worker_state.Lock);
  const auto found = std::ranges::find(worker_state.Missing, name, &MissingSurrogate::Name);
  return found == worker_state.Missing.end() ? std::nullopt : std::optional(*found);
}

void add_Missing(REFCLSID clsid, SharedWorker held_up) {
  MissingSurrogate missing{surrogate_Of(clsid), std::move(held_up)};
  const Locked lock(worker_state.Lock);
  worker_state.Missing.push_back(std::move(missing));
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
    const Locked lock(worker_state.Lock);
    std::erase(worker_state.Workers, held_up);
    if (worker_state.Workers.empty())
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

void release_Remotely(REFCLSID clsid, Routine routine, bool is_awaited) {
  run_Guarded([&] {
    const auto missing = find_Missing(clsid);
    Task task{clsid, std::move(routine), false};
    // Another worker would only be held up in its turn.
    if (missing && missing->HeldUp && hand_Over(*missing->HeldUp, task))
      return;
    const auto worker = take_Worker();
    const ScopeExit done([&worker] { give_Back(*worker); });
    task.IsAwaited = is_awaited;
    if (is_awaited)
      await(worker, task, quick_answer);
    else
      hand_Over(*worker, task);
  });
}

bool is_SurrogateMissing(REFCLSID clsid) {
  return find_Missing(clsid).has_value();
}

bool end_RemoteWork() noexcept {
  std::vector<SharedWorker> workers;
  {
    const Locked lock(worker_state.Lock);
    workers.swap(worker_state.Workers);
  }
  for (const auto& worker : workers) {
    end_Worker(*worker);
    WaitForSingleObject(worker->Thread.get(), quick_answer);
  }
  return worker_state.Threads == 0;
}
