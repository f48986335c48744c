// The suite's components as a 64-bit Explorer reaches them: 32-bit ones in the system's surrogate, a process
// that may be missing, hang or die.
#include "support/remote_component.h"

#include <tlhelp32.h>
#include <winternl.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "support/automation.h"
#include "support/handles.h"
#include "support/remote_worker.h"
#include "tests/explorer.h"
#include "tests/holdings.h"

extern "C" NTSTATUS NTAPI NtSuspendProcess(HANDLE);
extern "C" NTSTATUS NTAPI NtResumeProcess(HANDLE);

namespace {

constexpr const wchar_t *logger = L"logging.logme", *translator = L"NorvakTranslator.Language",
                        *store = L"NorvakCertInstaller.iCache", *semaphore = L"NorvakInter.SemaPhore";

void with_Servers(const std::string& option) {
  std::string command = R"(c:\windows\syswow64\regsvr32.exe /s )" + option;
  for (const auto* dll : {L"logmod", L"NorvakTranslator", L"NorvakCertInstaller", L"NorvakInter"})
    command += " " + std::filesystem::path(built_File(LR"(..\i686\suite\)") + dll + L".dll").string();
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

// Does it to each surrogate that runs; how many these were.
long surrogates(const std::function<void(HANDLE)>& routine = [](HANDLE) {}) {
  long count = 0;
  const unique_kernel_handle all(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W process{};
  process.dwSize = sizeof process;
  for (BOOL found = Process32FirstW(all.get(), &process); found;
       found = Process32NextW(all.get(), &process)) {
    if (_wcsicmp(process.szExeFile, L"dllhost.exe") == 0) {
      routine(unique_kernel_handle(OpenProcess(PROCESS_ALL_ACCESS, FALSE, process.th32ProcessID)).get());
      ++count;
    }
  }
  return count;
}

void suspend(HANDLE process) {
  NtSuspendProcess(process);
}

void resume(HANDLE process) {
  NtResumeProcess(process);
}

void kill(HANDLE process) {
  TerminateProcess(process, 1);
  WaitForSingleObject(process, INFINITE);
}

bool becomes_True(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 500; ++tries, Sleep(20))
    if (condition())
      return true;
  return false;
}

// One surrogate serves all components.
class Surrogate : public Machine {
 protected:
  void SetUp() override {
    with_Servers("");
    for (const std::wstring progid : {logger, translator, store, semaphore})
      set_Value(LR"(HKCR\Wow6432Node\CLSID\)" + value_At(LR"(HKCR\)" + progid + LR"(\CLSID\)") + LR"(\AppID)",
                m_application);
    set_Value(entry(), L"");
  }
  void TearDown() override {
    EXPECT_TRUE(becomes_True(end_RemoteWork)) << "a worker that did not come back";
    with_Servers("/u");
    surrogates(kill);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (LR"(AppID\)" + m_application).c_str());
  }
  std::wstring entry() const { return LR"(HKCR\AppID\)" + m_application + LR"(\DllSurrogate)"; }

  const std::wstring m_application = L"{d3cbf26c-1a10-4f05-9d5f-6a2a0f7d4c11}";
};

TEST_F(Surrogate, AnswersAndFailsAsAComponentInTheProcess) {
  const auto object = create_Object(logger);
  ASSERT_TRUE(object);
  EXPECT_TRUE(is_Alive(object.Get()));
  EXPECT_TRUE(put_Property(object.Get(), L"LogfileName", L"a.log"));
  EXPECT_EQ(as_Text(call_Member(object.Get(), L"LogfileName").value()), L"a.log");
  EXPECT_FALSE(call_Member(object.Get(), L"dance"));
  EXPECT_FALSE(call_Member(object.Get(), L"logge", {L"a line"}));
  EXPECT_FALSE(call_Member(object.Get(), L"logge", {L"a line", L"no:\\folder"}));
  EXPECT_FALSE(call_Member(object.Get(), L"logge", {L"a line", object.Get()}))
      << "an object of another apartment";
  EXPECT_TRUE(call_Member(object.Get(), L"logge", {L"a line", (test_folder + L"a.log").c_str()}));
  EXPECT_EQ(read_Lines(test_folder + L"a.log").size(), 1u);
}

TEST_F(Surrogate, OfNoEntryIsAMissingComponent) {
  RegDeleteTreeW(HKEY_CLASSES_ROOT, (LR"(AppID\)" + m_application).c_str());
  EXPECT_FALSE(create_Object(logger));
  EXPECT_EQ(surrogates(), 0);
  set_Value(entry(), L"");
  EXPECT_TRUE(create_Object(logger)) << "what was not there may come";
}

TEST_F(Surrogate, ThatDiesIsMissingFromThenOn) {
  const auto object = create_Object(translator);
  const auto translates = [&] { return call_Member(object.Get(), L"translateit", {L"a text"}).has_value(); };
  EXPECT_TRUE(translates() && call_Member(object.Get(), L"info"));
  EXPECT_EQ(surrogates(kill), 1);
  EXPECT_FALSE(translates() || call_Member(object.Get(), L"info"));
  EXPECT_FALSE(create_Object(store));
  EXPECT_EQ(surrogates(), 0);
}

TEST_F(Surrogate, ThatEndsWithoutAnObjectIsStartedAnew) {
  EXPECT_TRUE(create_Object(store));
  EXPECT_EQ(surrogates(kill), 1);
  EXPECT_TRUE(create_Object(store));
}

TEST_F(Surrogate, ThatHangsCostsOneWait) {
  const auto object = create_Object(translator), other = create_Object(logger);
  const auto start = GetTickCount64();
  EXPECT_GT(surrogates(suspend), 0);
  EXPECT_FALSE(is_Alive(object.Get()));
  for (int round = 0; round < 3; ++round) {
    EXPECT_FALSE(create_Object(store));
    EXPECT_FALSE(is_Alive(other.Get()));
  }
  EXPECT_LT(GetTickCount64() - start, 2 * quick_answer);
  EXPECT_FALSE(end_RemoteWork());
  surrogates(resume);
}

TEST_F(Surrogate, ThatHangsWhileAnObjectIsMadeOrReleasedCostsOneWait) {
  auto object = create_Object(translator);
  EXPECT_GT(surrogates(suspend), 0);
  const auto start = GetTickCount64();
  object.Reset();
  EXPECT_FALSE(create_Object(store));
  EXPECT_FALSE(create_Object(translator));
  EXPECT_LT(GetTickCount64() - start, 2 * quick_answer);
  surrogates(resume);
}

// The lock is taken elsewhere, and the component waits three seconds for it.
TEST_F(Surrogate, IsWaitedForAsLongAsItsWorkMayTake) {
  const unique_kernel_handle taken(CreateMutexW(nullptr, TRUE, L"Local\\NorvakInter.SemaPhore"));
  const auto wait = [](const AutomationObject& object) {
    return call_Member(object.Get(), L"WaitingForSemaphore", {L"a test", 1L, 1L});
  };
  const HWND window = CreateWindowW(L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  const unique_kernel_handle sender(CreateThread(
      nullptr, 0,
      [](void* target) {
        return static_cast<DWORD>(SendMessageW(static_cast<HWND>(target), WM_GETTEXTLENGTH, 0, 0) == 0);
      },
      window, 0, nullptr));
  PostMessageW(window, WM_APP, 0, 0);
  const auto other = create_Object(translator);
  bool is_served = false;
  std::thread meanwhile(
      [&] { is_served = call_Member(other.Get(), L"translateit", {L"a text"}).has_value(); });
  const auto answer = wait(create_Object(semaphore, 5 * quick_answer));
  meanwhile.join();
  EXPECT_TRUE(is_served);
  ASSERT_TRUE(answer);
  EXPECT_FALSE(bool(*answer));
  EXPECT_EQ(WaitForSingleObject(sender.get(), 0), WAIT_OBJECT_0) << "another thread that was left waiting";
  MSG message;
  EXPECT_TRUE(PeekMessageW(&message, window, WM_APP, WM_APP, PM_REMOVE)) << "a message that was taken";
  EXPECT_FALSE(wait(create_Object(semaphore)));
}

TEST_F(Surrogate, ServesARightClickAndIsLetGo) {
  const auto suite = install_Suite(), pdf = make_File(test_folder + L"a.pdf");
  set_Value(norvak + L"language", L"de");
  set_Value(norvak + L"AlwaysDebug", L"1");
  const auto right_Click = [&](bool is_first) {
    const Library library;
    answer_Boxes(library.handle());
    auto object = library.create();
    select(object, {pdf});
    EXPECT_EQ(offered(object, 100).at(0), L"100 Mit Norvak \u00F6ffnen");
    EXPECT_EQ(library.run("DllCanUnloadNow"), S_FALSE);
    if (is_first)
      invoke(object, 2);
    object.Reset();
    EXPECT_EQ(library.run("DllCanUnloadNow"), S_OK);
    surrogates(kill);  // those of the emulation end late and serve nobody meanwhile
  };
  Holdings of_Emulation;
  of_Emulation.Counts[Holdings::KernelHandles] = 3 * 4;  // of each process that it has reached
  bool leaves_Nothing = false;
  for (int round = 0; round < 4; ++round) {
    const auto before = count_Holdings();
    right_Click(round == 0);
    leaves_Nothing |= count_Holdings() - before == of_Emulation;
  }
  EXPECT_TRUE(leaves_Nothing);
  EXPECT_EQ(GetModuleHandleW(L"NorvakContextMenu.dll"), nullptr);
  EXPECT_GT(read_Lines(suite + L"pdf.log").size(), 10u);
  EXPECT_TRUE(becomes_True([] { return read_Lines(test_folder + L"signed.log").size() == 1; }))
      << "the worker found nothing in the store";
}

}  // namespace
