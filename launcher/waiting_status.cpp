// The identifiers of the dialog are made here: the library of them comes into a module as a whole.
#include <initguid.h>

#include "launcher/waiting_status.h"

#include <shlguid.h>

#include "components/patience.h"

namespace {

// How soon a click on the dialog's button counts.
constexpr DWORD slice_milliseconds = 100;

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
    wait_AndPaint(nullptr, slice_milliseconds);
  }
  return true;
}
