#include "components/patience.h"

#include <algorithm>
#include <utility>

#include "base/apartment.h"
#include "base/boundary.h"
#include "base/process_values.h"

namespace {

struct Patience {
  DWORD Menu = menu_patience;
  DWORD Making = 0;
  bool IsAction = false;
};

constinit PerApartment<Patience> patience;

// A thread that has no memory for its patience has none.
Patience own_Patience() noexcept {
  return run_Guarded(Patience{0, 0, false}, [] { return *patience; });
}

// Waits no longer than what is left, from which it takes the time.
template <typename Wait>
bool wait_Within(DWORD Patience::*left, DWORD limit, Wait wait) noexcept {
  assert_Unlocked();
  const auto start = GetTickCount64();
  const bool is_done = wait(std::min(limit, own_Patience().*left));
  const auto waited = GetTickCount64() - start;
  run_Guarded([&] {
    auto& rest = (*patience).*left;
    rest -= static_cast<DWORD>(std::min<ULONGLONG>(rest, waited));
  });
  return is_done;
}

void paint_Windows() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE | PM_QS_PAINT | PM_QS_SENDMESSAGE))
    DispatchMessageW(&message);
}

}  // namespace

void begin_MenuPatience() noexcept {
  run_Guarded([] { patience->Menu = menu_patience; });
}

ActionPatience::ActionPatience() noexcept {
  run_Guarded([this] {
    m_was_action = std::exchange(patience->IsAction, true);
    m_left_before = std::exchange(patience->Making, making_patience);
  });
}

ActionPatience::~ActionPatience() {
  run_Guarded([this] {
    patience->IsAction = m_was_action;
    patience->Making = m_left_before;
  });
}

bool is_InAction() noexcept {
  return own_Patience().IsAction;
}

bool has_Patience() noexcept {
  const auto own = own_Patience();
  return own.IsAction || own.Menu > 0;
}

bool wait_ForAnswer(HANDLE answered, DWORD limit) noexcept {
  if (is_InAction())
    return wait_AndPaint(answered, limit);
  return wait_Within(&Patience::Menu, limit, [answered](DWORD milliseconds) {
    return WaitForSingleObject(answered, milliseconds) == WAIT_OBJECT_0;
  });
}

bool wait_ForMaking(HANDLE made) noexcept {
  return wait_Within(&Patience::Making, making_patience,
                     [made](DWORD milliseconds) { return wait_AndPaint(made, milliseconds); });
}

bool wait_AndPaint(HANDLE event, DWORD milliseconds) noexcept {
  const DWORD events = event != nullptr ? 1 : 0;
  const auto end = GetTickCount64() + milliseconds;
  for (auto now = end - milliseconds; now < end; now = GetTickCount64()) {
    const auto woken = MsgWaitForMultipleObjects(events, &event, FALSE, static_cast<DWORD>(end - now),
                                                 QS_PAINT | QS_SENDMESSAGE);
    if (events != 0 && woken == WAIT_OBJECT_0)
      return true;
    paint_Windows();
  }
  return false;
}
