#include "launcher/waiting_status.h"

#include "components/patience.h"

namespace {

// The platform has these in a library that comes into a module as a whole.
constexpr CLSID clsid_ProgressDialog{
    0xF8383852, 0xFCD3, 0x11D1, {0xA6, 0xB9, 0x00, 0x60, 0x97, 0xDF, 0x5B, 0xD4}};
constexpr IID iid_ProgressDialog{
    0xEBBC7C04, 0x315E, 0x11D2, {0xB6, 0x2F, 0x00, 0x60, 0x97, 0xDF, 0x5B, 0xD4}};

// How soon a click on the dialog's button counts.
constexpr DWORD slice_milliseconds = 100;

}  // namespace

WaitingStatus::WaitingStatus(const std::wstring& title) noexcept
    : m_problem(CoCreateInstance(clsid_ProgressDialog, nullptr, CLSCTX_INPROC_SERVER, iid_ProgressDialog,
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
