// The identifiers of the dialog are made here: the library of them comes into a module as a whole.
#include <initguid.h>

#include "launcher/waiting_status.h"

#include <shlguid.h>

namespace {

// How soon a click on the dialog's button counts.
constexpr DWORD slice_milliseconds = 100;

// Paints and answers other threads, but takes no input: a second right-click must not start meanwhile.
void paint_Windows() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE | PM_QS_PAINT | PM_QS_SENDMESSAGE))
    DispatchMessageW(&message);
}

}  // namespace

WaitingStatus::WaitingStatus(const std::wstring& title) noexcept
    : m_problem(CoCreateInstance(CLSID_ProgressDialog, nullptr, CLSCTX_INPROC_SERVER, IID_IProgressDialog,
                                 reinterpret_cast<void**>(m_dialog.GetAddressOf()))) {
  if (FAILED(m_problem))
    return;
  m_dialog->SetTitle(title.c_str());
  m_problem =
      m_dialog->StartProgressDialog(nullptr, nullptr, PROGDLG_NOTIME | PROGDLG_NOPROGRESSBAR, nullptr);
}

WaitingStatus::~WaitingStatus() {
  if (m_dialog)
    m_dialog->StopProgressDialog();
}

void WaitingStatus::show(const std::wstring& text) noexcept {
  if (m_dialog)
    m_dialog->SetLine(1, text.c_str(), FALSE, nullptr);
}

bool WaitingStatus::wait(DWORD milliseconds) noexcept {
  const auto end = GetTickCount64() + milliseconds;
  for (auto now = GetTickCount64(); now < end; now = GetTickCount64()) {
    if (m_dialog && m_dialog->HasUserCancelled())
      return false;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, slice_milliseconds, QS_PAINT | QS_SENDMESSAGE);
    paint_Windows();
  }
  return true;
}
