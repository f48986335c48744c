// How long a thread of Explorer waits for others, and what it does meanwhile. Before a menu it waits
// half a second in all, however many components in other processes it asks: whoever presses the right button
// expects a menu. A person who has picked an action expects work, so that may take longer, with windows that
// still paint. Each thread keeps what is left of its patience.
#pragma once

#include <windows.h>

constexpr DWORD menu_patience = 500;
constexpr DWORD making_patience = 20'000;  // for all components that one action makes

// A menu is asked for from here on: the thread has its half second again.
void begin_MenuPatience() noexcept;

// The thread carries out a picked action for as long as this lives.
class ActionPatience {
 public:
  ActionPatience() noexcept;
  ~ActionPatience();
  ActionPatience(const ActionPatience&) = delete;
  ActionPatience& operator=(const ActionPatience&) = delete;

 private:
  bool m_was_action = false;
  DWORD m_left_before = 0;
};

// Whether this thread carries out a picked action.
bool is_InAction() noexcept;

// Whether this thread may wait for an answer at all.
bool has_Patience() noexcept;

// Waits until the event is set, for `limit` milliseconds at most, and before a menu for no longer than
// the thread still may. False when the event was not set in time.
bool wait_ForAnswer(HANDLE answered, DWORD limit) noexcept;

// The same for a component that an action makes.
bool wait_ForMaking(HANDLE made) noexcept;

// Waits until the event, which may be null, is set or the time is over. This thread's windows go on painting
// and answering other threads, but nothing takes input: a second right-click must not start meanwhile. True
// when the event was set.
bool wait_AndPaint(HANDLE event, DWORD milliseconds) noexcept;
