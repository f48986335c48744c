// The processes in which the system's surrogate loads the components of the other bitness, one for each
// class. What is known of the process of a class:
//
//                          answers                 an answer is late
//   not asked ──▶ starting ────────▶ serving ◀─────────────────────▶ held up
//                    │  ▲               │           it comes late       │
//          cannot be │  │ next object   │ ends                          │ ends
//            started ▼  │               ▼                               │
//                   gone ◀──────────────┴───────────────────────────────┘
//
// A process that starts slowly or is held up fails its callers at once until a pause is over, which doubles
// with each late answer from a second to a minute; then one caller waits again. A class that is registered
// nowhere, and a process that cannot be started, are looked for again after the same pause. The state is what
// is known of each process, until the module unloads.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <comutil.h>
#include <wrl/client.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/process_values.h"
#include "components/remote_worker.h"

// The objects are made one after the other, so that two of them do not start the process twice, and one that
// hangs holds up one worker however many objects are wanted.
class Surrogate {
 public:
  explicit Surrogate(REFCLSID clsid) : m_class(clsid) {}
  Surrogate(const Surrogate&) = delete;
  Surrogate& operator=(const Surrogate&) = delete;
  // A worker lets the factory go (`let_Go`); at the end of the program nobody may call it any more.
  ~Surrogate() { static_cast<void>(m_factory.Detach()); }

  REFCLSID clsid() const { return m_class; }
  Strand& makings() { return *m_makings; }

  // Called by the workers: makes an object, and calls a member of one. Their outcome tells how the process
  // is.
  HRESULT make(Microsoft::WRL::ComPtr<IDispatch>& object);
  HRESULT call(IDispatch* object, const std::wstring& name, WORD kind, std::vector<_variant_t>& arguments,
               _variant_t& result);
  // Releases the factory, which keeps the process.
  void let_Go();

  // Whether this thread must not wait for the process now.
  bool is_HeldUp();
  // Why no object could be made, for as long as that is to be believed; else S_OK.
  HRESULT last_Failure();
  // Whether the last object that was wanted was made.
  bool is_Serving();
  // This thread has waited in vain. A process that is only slow to start has an action wait all the same.
  void note_Silence();

 private:
  struct Known {
    void pause(bool holds_Actions) {
      constexpr DWORD shortest = 1000;
      constexpr DWORD longest = 60'000;
      Pause = std::clamp(2 * Pause, shortest, longest);
      PauseEnd = GetTickCount64() + Pause;
      HoldsActions = holds_Actions;
    }

    void forget_Member(const std::wstring& name) {
      std::erase_if(Members, [&name](const auto& known) { return known.first == name; });
    }

    void end_Pause() { Pause = 0, PauseEnd = 0; }

    bool IsServing = false;
    std::vector<std::pair<std::wstring, DISPID>> Members;
    HRESULT Making = S_OK;  // the last one
    DWORD Pause = 0;
    ULONGLONG PauseEnd = 0;
    bool HoldsActions = false;  // or only those who have the patience of a menu
  };

  const CLSID m_class;
  const std::shared_ptr<Strand> m_makings = std::make_shared<Strand>(Strand::State::Idle);
  Microsoft::WRL::ComPtr<IClassFactory> m_factory;  // used where objects are made
  Guarded<Known> m_known;
};

// The process that serves the class; it is known from here until the module unloads.
Surrogate& find_Surrogate(REFCLSID clsid);

// Whether an outcome tells that the process has ended, could not be reached or not be started.
bool has_Ended(HRESULT outcome);

// Has the workers release the factories that keep processes.
void let_SurrogatesGo();
