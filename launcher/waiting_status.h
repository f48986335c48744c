// What the user sees while the calling thread, which may be Explorer's own, has to wait: the shell's progress
// dialog, which runs on a thread of its own.
#pragma once

#include <windows.h>

#include <shlobj.h>

#include <wrl/client.h>

#include <string>

class WaitingStatus {
 public:
  // The dialog has no owner: with one, the two threads would share their input, and the dialog could not be
  // used while this thread waits.
  explicit WaitingStatus(const std::wstring& title) noexcept;
  ~WaitingStatus();
  WaitingStatus(const WaitingStatus&) = delete;
  WaitingStatus& operator=(const WaitingStatus&) = delete;

  // Why there is no dialog; S_OK when there is one.
  HRESULT problem() const noexcept { return m_problem; }

  void show(const std::wstring& text) noexcept;

  // Waits, while this thread's windows go on painting themselves. False when the user has cancelled.
  bool wait(DWORD milliseconds) noexcept;

 private:
  Microsoft::WRL::ComPtr<IProgressDialog> m_dialog;
  HRESULT m_problem = S_OK;
};
