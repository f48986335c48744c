// The suite's components as a 64-bit Explorer reaches them: 32-bit ones in the system's surrogate, a process
// that may be missing, hang or die.
#include "support/remote_component.h"

#include <tlhelp32.h>
#include <winternl.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "launcher/actions.h"
#include "support/automation.h"
#include "support/handles.h"
#include "support/processes.h"
#include "support/remote_worker.h"
#include "tests/explorer.h"
#include "tests/holdings.h"

extern "C" NTSTATUS NTAPI NtSuspendProcess(HANDLE);
extern "C" NTSTATUS NTAPI NtResumeProcess(HANDLE);

namespace {

constexpr const wchar_t *logger = L"logging.logme", *translator = L"NorvakTranslator.Language",
                        *store = L"NorvakCertInstaller.iCache", *semaphore = L"NorvakInter.SemaPhore",
                        *editor = L"norvakpdf.edit", *signer = L"norvakcsp.PKCS7";

void with_Servers(const std::string& option) {
  std::string command = R"(c:\windows\syswow64\regsvr32.exe /s )" + option;
  for (const auto* dll :
       {L"logmod", L"NorvakTranslator", L"NorvakCertInstaller", L"NorvakInter", L"norvakpdf", L"norvakcsp"})
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
    for (const std::wstring progid : {logger, translator, store, semaphore, editor, signer})
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

TEST_F(Surrogate, ThatDiesWithAnObjectIsMissingFromThenOn) {
  EXPECT_TRUE(create_Object(translator));
  EXPECT_EQ(surrogates(kill), 1);
  const auto object = create_Object(translator);
  const auto translates = [&] { return call_Member(object.Get(), L"translateit", {L"a text"}).has_value(); };
  EXPECT_TRUE(translates() && call_Member(object.Get(), L"info"));
  EXPECT_EQ(surrogates(kill), 1);
  EXPECT_FALSE(translates() || call_Member(object.Get(), L"info"));
  EXPECT_FALSE(create_Object(store));
  EXPECT_EQ(surrogates(), 0);
}

TEST_F(Surrogate, ThatHangsCostsOneWait) {
  const auto object = create_Object(translator), other = create_Object(logger);
  const auto start = GetTickCount64();
  EXPECT_GT(surrogates(NtSuspendProcess), 0);
  EXPECT_FALSE(is_Alive(object.Get()));
  for (int round = 0; round < 3; ++round) {
    EXPECT_FALSE(create_Object(store));
    EXPECT_FALSE(is_Alive(other.Get()));
  }
  EXPECT_LT(GetTickCount64() - start, 2 * quick_answer);
  EXPECT_FALSE(end_RemoteWork());
  surrogates(NtResumeProcess);
}

TEST_F(Surrogate, ThatHangsWhileAnObjectIsMadeOrReleasedCostsOneWait) {
  auto object = create_Object(translator);
  EXPECT_GT(surrogates(NtSuspendProcess), 0);
  const auto start = GetTickCount64();
  object.Reset();
  EXPECT_FALSE(create_Object(store));
  EXPECT_FALSE(create_Object(translator));
  EXPECT_LT(GetTickCount64() - start, 2 * quick_answer);
  surrogates(NtResumeProcess);
}

// It makes the files, and dies while it makes the next one: that is left out, and its process is missing.
TEST_F(Surrogate, WorksOnFilesAndLeavesNoHalfOneWhenItDies) {
  install_Suite();
  const auto picture = make_Picture(test_folder + L"a.bmp"),
             text = make_File(test_folder + L"b.txt", L"content"), signature = text + L".p7s",
             envelope = text + L".p7m";
  const auto run = [](const wchar_t* action, const std::wstring& path) {
    run_Action(action, entries({path}), flags_Of(L"Image"));
    return take_Starts();
  };
  const auto exists = [](const std::wstring& file) { return std::filesystem::exists(file); };
  record_Starts();
  answer_Boxes(GetModuleHandleW(nullptr));
  EXPECT_EQ(run(L"view", picture), Lines{opening(L"PageKeeper.exe", picture + L".pdf")});
  for (const auto* action : {L"p7s", L"p7m"})
    run(action, text);
  EXPECT_TRUE(exists(signature));
  std::filesystem::remove(text);
  run(L"vPKCS7", envelope);
  EXPECT_EQ(read_Lines(text), Lines{L"content"});

  set_Value(users + LR"(pdf\UniqueContainerName)", std::to_wstring(GetTickCount64()));  // its key takes time
  std::thread killer([&] {
    while (exists(signature))
      Sleep(1);
    EXPECT_GT(surrogates(kill), 0);
  });
  run(L"p7s", text);
  killer.join();
  EXPECT_FALSE(exists(signature));
  run(L"p7m", text);
  EXPECT_TRUE(exists(envelope)) << "the file of before, which nothing can make anew";
  std::filesystem::remove(picture + L".pdf");
  EXPECT_EQ(run(L"view", picture), Lines{opening(L"PageKeeper.exe", picture)});
  EXPECT_EQ(surrogates(), 0);
}

// It hangs as soon as it has started.
TEST_F(Surrogate, ThatHangsLeavesARightClickItsEnglishMenu) {
  const auto suite = install_Suite(), pdf = make_File(test_folder + L"a.pdf");
  set_Value(norvak + L"language", L"de");
  std::thread hanging([] { EXPECT_TRUE(becomes_True([] { return surrogates(NtSuspendProcess) > 0; })); });
  const Library library;
  answer_Boxes(library.handle());
  record_Starts(library.handle());
  const auto start = GetTickCount64();
  auto object = library.create();
  select(object, {pdf});
  EXPECT_EQ(offered(object, 100),
            (Lines{L"100 Open with Norvak", L"101 Open with quill!", L"102 Create PDF Signature *",
                   L"103 Create PKCS7 Signature", L"104 Create PKCS7 Envelope", L"-"}));
  for (const ULONG_PTR item : {0, 1, 2, 3})
    invoke(object, item);
  object.Reset();
  EXPECT_LT(GetTickCount64() - start, 2 * quick_answer);
  EXPECT_EQ(take_Starts(), (Lines{opening(L"PageKeeper.exe", pdf), opening(L"quill!.exe", pdf),
                                  ::quoted(suite + L"NorvakWorkerProcess.exe") + L" signit"}));
  EXPECT_EQ(library.run("DllCanUnloadNow"), S_FALSE) << "a worker that is held up";
  hanging.join();
  EXPECT_EQ(surrogates(NtResumeProcess), 1);
  EXPECT_TRUE(becomes_True([&] { return library.run("DllCanUnloadNow") == S_OK; }));
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
  std::filesystem::copy_file(built_File(LR"(..\i686\suite\NorvakWorkerProcess.exe)"),
                             suite + L"NorvakWorkerProcess.exe",
                             std::filesystem::copy_options::overwrite_existing);
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
    EXPECT_TRUE(becomes_True([] { return !is_ProcessRunning(L"NorvakWorkerProcess.exe"); }));
    surrogates(kill);  // those of the emulation end late and serve nobody meanwhile
  };
  right_Click(true);
  // What each next one leaves besides what is planted for it: of the emulation's, for each process reached.
  const std::pair<void (*)(), std::array<long, Holdings::Kinds>> rows[] = {
      {[] {}, {3 * 4}},
      {[] { CreateEventW(nullptr, FALSE, FALSE, nullptr); }, {3 * 4 + 1}},
      {[] { HeapAlloc(GetProcessHeap(), 0, 1); }, {3 * 4, 0, 0, 1, 1}}};
  for (const auto& [leak, grown] : rows) {
    // The emulation's own threads may take or give back some memory meanwhile, but no handles.
    Holdings left;
    for (int tries = 0; tries < 3 && left != Holdings{grown}; ++tries) {
      const auto before = count_Holdings();
      right_Click(false);
      leak();
      left = count_Holdings() - before;
      EXPECT_EQ(left.Counts[Holdings::KernelHandles], grown[Holdings::KernelHandles]);
    }
    EXPECT_EQ(left, Holdings{grown});
  }
  EXPECT_EQ(GetModuleHandleW(L"NorvakContextMenu.dll"), nullptr);
  EXPECT_GT(read_Lines(suite + L"pdf.log").size(), 10u);
  EXPECT_EQ(read_Lines(test_folder + L"signed.log").size(), 1u) << "the worker found nothing in the store";
}

}  // namespace
