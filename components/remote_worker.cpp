#include "components/remote_worker.h"

#include <oaidl.h>
#include <objbase.h>
#include <wrl/client.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <new>
#include <utility>
#include <vector>

#include "base/boundary.h"
#include "base/handles.h"
#include "base/module.h"
#include "components/patience.h"

namespace {

constexpr std::size_t most_waiting = 500;

using SharedStrand = std::shared_ptr<Strand>;

constinit struct {
  SRWLOCK Lock = SRWLOCK_INIT;
  CONDITION_VARIABLE Changed = CONDITION_VARIABLE_INIT;
  std::vector<SharedStrand> Ready;  // this and the next four under the lock
  std::vector<unique_kernel_handle> Threads;
  std::size_t Working = 0;  // threads that have not decided to end
  std::size_t Idle = 0;     // of these
  std::size_t Ending = 0;   // how many are to end once nothing is ready
} workers;

// Null when the thread is to end.
SharedStrand next_Strand() {
  const Locked lock(workers.Lock);
  ++workers.Idle;
  while (workers.Ready.empty() && workers.Ending == 0)
    SleepConditionVariableSRW(&workers.Changed, &workers.Lock, INFINITE, 0);
  --workers.Idle;
  if (workers.Ready.empty()) {
    --workers.Ending;
    --workers.Working;
    return {};
  }
  auto next = std::move(workers.Ready.front());
  workers.Ready.erase(workers.Ready.begin());
  return next;
}

constinit std::atomic<bool> are_MarshallersReady = false;

// The marshallers of factories and of late-bound calls fill their tables with their first use, and not every
// system has that done by one thread alone. So they are asked for before there are several workers.
void prepare_Marshallers() {
  if (are_MarshallersReady.exchange(true))
    return;
  for (const auto& marshalled : {__uuidof(IClassFactory), __uuidof(IDispatch)}) {
    CLSID clsid{};
    Microsoft::WRL::ComPtr<IUnknown> marshaller;
    if (SUCCEEDED(CoGetPSClsid(marshalled, &clsid)))
      CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&marshaller));
  }
}

DWORD WINAPI run_Worker(void*) {
  const HRESULT entered = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  while (const auto strand = next_Strand())
    strand->run();
  if (SUCCEEDED(entered))
    CoUninitialize();
  FreeLibraryAndExitThread(get_Module(), 0);
}

unique_kernel_handle start_Thread() {
  prepare_Marshallers();
  HMODULE module = nullptr;  // a thread without a reference of its own would give back somebody else's
  if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<const wchar_t*>(get_Module()), &module) == FALSE)
    return {};
  unique_kernel_handle thread(CreateThread(nullptr, 0, run_Worker, nullptr, 0, nullptr));
  if (!thread)
    FreeLibrary(module);
  return thread;
}

// Without a new thread the others do its part, once they have time. False when there is no other.
bool add_Worker() {
  auto thread = start_Thread();
  const Locked lock(workers.Lock);
  if (thread)
    run_Guarded([&thread] { workers.Threads.push_back(std::move(thread)); });
  else
    --workers.Working;
  return workers.Working > 0;
}

// False when no worker will ever come.
bool submit(const SharedStrand& strand) {
  bool is_short = false;
  {
    const Locked lock(workers.Lock);
    // Nobody would wait for the end of a thread that found no place among the others.
    workers.Threads.reserve(workers.Threads.size() + workers.Working + 1);
    workers.Ready.push_back(strand);
    workers.Ending = 0;
    is_short = workers.Ready.size() > workers.Idle;
    workers.Working += is_short ? 1 : 0;
  }
  if (!is_short)
    WakeConditionVariable(&workers.Changed);
  else if (!add_Worker()) {
    const Locked lock(workers.Lock);
    std::erase(workers.Ready, strand);
    return false;
  }
  return true;
}

}  // namespace

void Strand::add(Work work) {
  std::list<Work> refused;
  refused.push_back(std::move(work));
  {
    const Locked lock(m_lock);
    if (m_work.size() >= most_waiting)
      throw std::bad_alloc();
    m_work.splice(m_work.end(), refused);
    if (m_state != State::Idle)
      return;
    m_state = State::Busy;
  }
  try {
    if (!submit(weak_from_this().lock()))
      throw std::bad_alloc();
  } catch (...) {
    {
      const Locked lock(m_lock);
      m_state = State::Idle;
      m_work.swap(refused);
    }
    throw;
  }
}

void Strand::begin() noexcept {
  {
    const Locked lock(m_lock);
    m_state = State::Busy;
  }
  // cppcheck-suppress throwInNoexceptFunction ; it is caught
  if (!run_Guarded(false, [this] { return submit(weak_from_this().lock()); }))
    run();  // the worker that begins it has time for it too
}

void Strand::run() noexcept {
  for (;;) {
    Work work;
    {
      const Locked lock(m_lock);
      if (m_work.empty()) {
        m_state = State::Idle;
        return;
      }
      work.swap(m_work.front());
      m_work.pop_front();
    }
    run_Guarded(work);
  }
}

bool end_Workers() noexcept {
  std::vector<unique_kernel_handle> threads;
  {
    const Locked lock(workers.Lock);
    workers.Ending = workers.Working;
    workers.Threads.swap(threads);
  }
  WakeAllConditionVariable(&workers.Changed);
  const auto has_Ended = [](const auto& thread) {
    return WaitForSingleObject(thread.get(), menu_patience) == WAIT_OBJECT_0;
  };
  std::erase_if(threads, has_Ended);
  return run_Guarded(false, [&threads] {  // one that has started last may have come in meanwhile
    const Locked lock(workers.Lock);
    std::ranges::move(threads, std::back_inserter(workers.Threads));
    return workers.Threads.empty();
  });
}
