#include "launcher/signing_queue.h"

#include "base/text.h"
#include "files/processes.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

constexpr const wchar_t* waiting = L"Signatur Process active - waiting";
constexpr const wchar_t* busy = LR"(C:\busy.pdf)";
constexpr const wchar_t* next = LR"(C:\next.pdf)";

// Only waiting moves the clock.
DWORD WINAPI move_Clock(DWORD, const HANDLE*, BOOL, DWORD milliseconds, DWORD) {
  clock_Time += milliseconds;
  return WAIT_TIMEOUT;
}

class SigningQueue : public Machine {
 protected:
  SigningQueue() {
    use_Clock();
    patch_Import("MsgWaitForMultipleObjects", reinterpret_cast<void*>(move_Clock));
  }
  ~SigningQueue() override {
    for (const auto* function : {"ProcessIdToSessionId", "CreateToolhelp32Snapshot"})
      patch_Import(function, kernel_Function(function));
    while (is_ProcessRunning(L"NorvakWorkerProcess.exe"))
      SendMessageW(FindWindowW(L"NorvakSuiteProgram", nullptr), WM_KEYDOWN, 0, 0);
  }
  // Queues a file while the worker has another one; calls the step each time that the store is asked.
  void queue_WhileBusy(const std::function<void()>& step) {
    SetEnvironmentVariableW(L"NORVAK_SUITE_SHOW", L"60000");
    start_Program(m_suite + L"NorvakWorkerProcess.exe");
    while (FindWindowW(L"NorvakSuiteProgram", nullptr) == nullptr)
      Sleep(10);
    record_Starts();
    m_store.Values[L"SignFiles"] = busy;
    m_store.Store->Table[L"get_PIN"] = [&](const Arguments& key) {
      step();
      return m_store.Values[text_Of(key.at(0))].c_str();
    };
    queue_ForSigning(entries({next}));
  }
  const std::wstring m_suite = install_Suite();
  const std::wstring m_command = ::quoted(m_suite + L"NorvakWorkerProcess.exe") + L" signit";
  const Log m_log;
  ValueStore m_store;
};

TEST_F(SigningQueue, TakesAWholeSelectionInPlaceOfAStaleQueue) {
  m_store.Values[L"SignFiles"] = busy;
  std::wstring list = L"C:\\short.pdf";
  for (int number = 0; number < 2000; ++number)
    list += LR"(|C:\some folder\)" + std::to_wstring(number) + L".pdf";
  auto files = entries(split(list, L'|'));
  files.front() = {{}, files.front().LongName};
  record_Starts();
  queue_ForSigning(files);
  EXPECT_EQ(m_store.Values[L"SignFiles"], list);
  const auto messages = m_log.messages();
  ASSERT_EQ(messages.size(), 2005u);
  EXPECT_EQ((Lines{messages[0], messages[1], messages[2001], messages[2002], messages[2004]}),
            (Lines{L"called action signit", L"Passing C:\\short.pdf",
                   L"Passing " + std::wstring(files[2000].LongName), L"Signlist: " + list, m_command}));
  queue_ForSigning(entries({L"relative.pdf"}));
  queue_ForSigning({});
  EXPECT_EQ(m_store.Values[L"SignFiles"], list);
  EXPECT_EQ(take_Starts(), Lines{m_command});
}

TEST_F(SigningQueue, WaitsForABusyWorkerForAMinuteAtMost) {
  Lines seen;
  queue_WhileBusy([&] {
    const HWND dialog = FindWindowW(nullptr, waiting);
    for (HWND line = GetWindow(dialog, GW_CHILD); line != nullptr; line = GetWindow(line, GW_HWNDNEXT)) {
      wchar_t text[128] = {};
      GetWindowTextW(line, text, 128);
      if (contains(text, waiting) && (seen.empty() || seen.back() != text))
        seen.push_back(text);
    }
  });
  EXPECT_EQ(clock_Time, 60'000u);
  EXPECT_EQ(m_store.Values[L"SignFiles"], next);
  EXPECT_EQ(take_Starts(), Lines{m_command});
  ASSERT_EQ(seen.size(), 21u);
  EXPECT_EQ((Lines{seen[0], seen[2], seen[20]}),
            (Lines{waiting + std::wstring(L" "), waiting + std::wstring(L" .."),
                   waiting + std::wstring(L" ....................")}));
  const auto messages = m_log.messages();
  EXPECT_EQ(messages[4], L"Signature Process active: " + std::wstring(busy));
}

BOOL WINAPI know_OtherSession(DWORD process, DWORD* session) {
  *session = process == GetCurrentProcessId() ? 1 : 2;
  return TRUE;
}
HANDLE WINAPI know_NoProcess(DWORD, DWORD) {
  return INVALID_HANDLE_VALUE;
}

TEST_F(SigningQueue, BelongsToTheWorkersOfThisSession) {
  patch_Import("ProcessIdToSessionId", reinterpret_cast<void*>(know_OtherSession));
  queue_WhileBusy([] {});
  EXPECT_EQ(clock_Time, 3'000u) << "another program's worker has this time to start";
  EXPECT_EQ(m_store.Values[L"SignFiles"], next);
}

TEST_F(SigningQueue, IsNotStaleWhenTheRunningProgramsAreUnknown) {
  patch_Import("CreateToolhelp32Snapshot", reinterpret_cast<void*>(know_NoProcess));
  queue_WhileBusy([] {});
  EXPECT_EQ(clock_Time, 60'000u);
  EXPECT_EQ(m_store.Values[L"SignFiles"], next);
}

TEST_F(SigningQueue, StopsWaitingOnceItIsEmpty) {
  int asked = 0;
  queue_WhileBusy([&] {
    if (++asked == 4)
      m_store.Values[L"SignFiles"] = L"";
  });
  EXPECT_EQ(clock_Time, 1'000u);
  EXPECT_EQ(m_store.Values[L"SignFiles"], next);
}

TEST_F(SigningQueue, IsLeftToItsWorkerWhenTheUserCancels) {
  queue_WhileBusy([] { SendMessageW(FindWindowW(nullptr, waiting), WM_COMMAND, IDCANCEL, 0); });
  EXPECT_EQ(clock_Time, 0u);
  EXPECT_EQ(m_store.Values[L"SignFiles"], busy);
  EXPECT_EQ(take_Starts(), Lines());
}

}  // namespace
