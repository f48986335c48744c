// The suite's components as a 64-bit Explorer reaches them: they are 32-bit and run in the system's
// surrogate, a process that may be missing, hang or die.
#include "components/remote_component.h"

#include <tlhelp32.h>
#include <winternl.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "base/apartment.h"
#include "base/handles.h"
#include "components/automation.h"
#include "components/object_creation.h"
#include "components/patience.h"
#include "files/processes.h"
#include "launcher/actions.h"
#include "launcher/translation.h"
#include "suite/value_cache.h"
#include "tests/explorer.h"
#include "tests/holdings.h"
#include "tests/thread.h"

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
    command += " " + std::filesystem::path(built_File(LR"(..\i686\standins\)") + dll + L".dll").string();
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

// Calls the routine for each surrogate that runs, and returns how many there are.
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

// When the recorded waits began, and how long each was allowed to take.
std::vector<std::pair<ULONGLONG, DWORD>> waits;

DWORD WINAPI wait_Quietly(HANDLE handle, DWORD limit) {
  waits.emplace_back(GetTickCount64(), limit);
  return WaitForSingleObjectEx(handle, limit, FALSE);
}

DWORD WINAPI wait_Painting(DWORD count, const HANDLE* handles, BOOL, DWORD limit, DWORD mask) {
  waits.emplace_back(GetTickCount64(), limit);
  return MsgWaitForMultipleObjectsEx(count, handles, limit, mask, 0);
}

// Right-clicks until the menu is translated, and returns the object of that right-click.
ComPtr<IContextMenu> german_Menu(const Library& library, const std::wstring& path) {
  ComPtr<IContextMenu> object;
  EXPECT_TRUE(becomes_True([&] {
    object = library.create();
    select(object, {path});
    return offered(object, 100).at(0) == L"100 &Mit Norvak \u00F6ffnen";
  }));
  return object;
}

// One registry entry serves the surrogates of all components. What a case does itself counts as an action,
// which has more patience than a menu.
class Surrogate : public Machine {
 protected:
  void SetUp() override {
    with_Servers("");
    for (const std::wstring progid : {logger, translator, store, semaphore, editor, signer})
      set_Value(LR"(HKCR\Wow6432Node\CLSID\)" + value_At(LR"(HKCR\)" + progid + LR"(\CLSID\)") + LR"(\AppID)",
                m_application);
    set_Value(entry(), L"");
    set_Value(norvak + L"language", L"de");
  }
  void TearDown() override {
    surrogates(NtResumeProcess);
    end_Work();
    with_Servers("/u");
    surrogates(kill);
    remove_Entry();
  }
  std::wstring entry() const { return LR"(HKCR\AppID\)" + m_application + LR"(\DllSurrogate)"; }
  void remove_Entry() const { RegDeleteTreeW(HKEY_CLASSES_ROOT, (LR"(AppID\)" + m_application).c_str()); }

  const std::wstring m_application = L"{d3cbf26c-1a10-4f05-9d5f-6a2a0f7d4c11}";
  std::optional<ActionPatience> m_action{std::in_place};
};

TEST_F(Surrogate, AnswersAndFailsLikeAComponentInTheProcess) {
  const auto object = create_Object(logger);
  ASSERT_TRUE(object);
  EXPECT_TRUE(is_Alive(object.Get()));
  EXPECT_TRUE(put_Property(object.Get(), L"LogfileName", L"a.log"));
  EXPECT_EQ(as_Text(call_Member(object.Get(), L"LogfileName").value()), L"a.log");
  EXPECT_FALSE(call_Member(object.Get(), L"dance"));
  EXPECT_FALSE(call_Member(object.Get(), L"logge", {L"a line"}));
  EXPECT_FALSE(call_Member(object.Get(), L"logge", {L"a line", L"no:\\folder"}));
  EXPECT_FALSE(call_Member(object.Get(), L"logge", {L"a line", object.Get()}))
      << "an object belongs to its apartment";
  const auto file = test_folder + L"a.log";
  const auto write = [&] {
    for (int line = 0; line < 100; ++line)
      send_Member(object.Get(), L"logge", {L"a line", file.c_str()});
  };
  Thread other(write);
  write();
  other.join();
  EXPECT_TRUE(call_Member(object.Get(), L"logge", {L"the last line", file.c_str()}));
  const auto lines = read_Lines(file);
  EXPECT_EQ(lines.size(), 201u);
  EXPECT_EQ(lines.back(), L"the last line");
}

TEST_F(Surrogate, ClassWithoutEntryIsMissingUntilItHasOne) {
  remove_Entry();
  EXPECT_FALSE(create_Object(logger));
  m_action.reset();
  EXPECT_TRUE(becomes_True([] { return translate(L"a text").IsSettled; }))
      << "a missing translator is not asked again";
  EXPECT_EQ(surrogates(), 0);
  set_Value(entry(), L"");
  EXPECT_TRUE(becomes_True([] { return create_Object(logger) != nullptr; }))
      << "a class may get its entry later";
}

TEST_F(Surrogate, IsStartedAgainForTheNextObject) {
  set_PermanentCache(L"a key", L"a value");
  set_PermanentCache(L"another", L"");  // the last key is remembered
  const auto object = create_Object(translator);
  const auto translates = [](const AutomationObject& asked) {
    return call_Member(asked.Get(), L"translateit", {L"a text"}).has_value();
  };
  EXPECT_TRUE(translates(object) && is_Alive(object.Get()));
  EXPECT_GT(surrogates(kill), 0);
  EXPECT_FALSE(translates(object) || is_Alive(object.Get()));
  EXPECT_TRUE(translates(create_Object(translator)));
  Sleep(1000);  // a sign of life is believed for so long
  EXPECT_EQ(get_PermanentCache(L"a key"), L"a value");
}

TEST_F(Surrogate, IsTriedAgainAfterGrowingPausesWhileItHangs) {
  constexpr DWORD limit = 20;
  const auto object = create_Object(translator, limit);
  EXPECT_GT(surrogates(NtSuspendProcess), 0);
  patch_Import("MsgWaitForMultipleObjects", reinterpret_cast<void*>(wait_Painting));
  waits.clear();
  EXPECT_TRUE(becomes_True([&] {
    EXPECT_FALSE(call_Member(object.Get(), L"translateit", {L"a text"}));
    return waits.size() >= 3;
  }));
  EXPECT_GE(waits[1].first - waits[0].first, 1000u);
  EXPECT_GE(waits[2].first - waits[1].first, 2000u);
  EXPECT_FALSE(create_Object(translator)) << "the process hangs for its other objects too";
  EXPECT_EQ(waits.size(), 3u);
  surrogates(NtResumeProcess);
  EXPECT_TRUE(becomes_True([&] { return is_Alive(object.Get()); }));
  EXPECT_LT(GetTickCount64() - waits[2].first, 4000u) << "the late answer ends the pause";
}

// It makes the files, and dies while it makes one of them again: the earlier file stays.
TEST_F(Surrogate, MakesFilesAndLeavesNoHalfFileWhenItDies) {
  install_Suite();
  const auto picture = make_Picture(test_folder + L"a.bmp"),
             text = make_File(test_folder + L"b.txt", L"content"), signature = text + L".p7s",
             envelope = text + L".p7m";
  const auto run = [](const wchar_t* action, const std::wstring& path) {
    run_Action(*find_Action(action), entries({path}), flags_Of(L"Image"));
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

  const auto earlier = std::filesystem::last_write_time(signature);
  set_Value(users + LR"(pdf\UniqueContainerName)", std::to_wstring(GetTickCount64()));  // its key takes time
  Thread killer([&] {
    while (exists(signature))
      Sleep(1);
    EXPECT_GT(surrogates(kill), 0);
  });
  run(L"p7s", text);
  killer.join();
  EXPECT_TRUE(exists(signature) && std::filesystem::last_write_time(signature) == earlier)
      << "the earlier file is still whole";
  remove_Entry();
  run(L"p7m", text);
  EXPECT_TRUE(exists(envelope)) << "the earlier file stays where no component can make another";
  std::filesystem::remove(picture + L".pdf");
  EXPECT_EQ(run(L"view", picture), Lines{opening(L"PageKeeper.exe", picture)});
}

// Every surrogate hangs as soon as it has started.
TEST_F(Surrogate, ServesTheNextMenuWhenItStartsLate) {
  const auto suite = install_Suite(), pdf = make_File(test_folder + L"a.pdf");
  set_Value(norvak + L"AlwaysDebug", L"1");
  std::atomic<bool> is_over = false;
  std::map<DWORD, NTSTATUS> hung;
  Thread hanging([&] {
    while (!is_over)
      surrogates([&](HANDLE process) {
        if (const auto id = GetProcessId(process); !hung.contains(id))
          hung[id] = NtSuspendProcess(process);
      });
  });
  const Library library;
  patch_Import("WaitForSingleObject", reinterpret_cast<void*>(wait_Quietly), library.handle());
  patch_Import("MsgWaitForMultipleObjects", reinterpret_cast<void*>(wait_Painting), library.handle());
  waits.clear();
  auto object = library.create();
  select(object, {pdf});
  EXPECT_EQ(offered(object, 100),
            (Lines{L"100 &Open with Norvak", L"101 Open &with quill!", L"102 &Create PDF Signature *",
                   L"103 Create &PKCS7 Signature", L"104 Create PKCS7 &Envelope", L"-"}));
  EXPECT_EQ(waits.size(), 1u) << "nothing waits once the half second is used up";
  EXPECT_EQ(waits.at(0).second, menu_patience);
  EXPECT_EQ(library.run("DllCanUnloadNow"), S_FALSE);
  is_over = true;
  hanging.join();
  EXPECT_GT(surrogates(NtResumeProcess), 0);
  EXPECT_TRUE(becomes_True([&] { return read_Lines(suite + L"pdf.log").size() > 5; }));
  object.Reset();
  german_Menu(library, pdf);
  EXPECT_TRUE(becomes_True([&] { return library.run("DllCanUnloadNow") == S_OK; }));
}

// This process holds the lock, and the component waits three seconds for it.
TEST_F(Surrogate, IsWaitedForAsLongAsItsWorkMayTake) {
  unique_kernel_handle taken(CreateMutexW(nullptr, TRUE, L"Local\\NorvakInter.SemaPhore"));
  const auto wait = [](const AutomationObject& object) {
    const auto answer = call_Member(object.Get(), L"WaitingForSemaphore", {L"a test", 1L, 1L});
    return answer && bool(*answer);
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
  Thread meanwhile([&] {
    const ActionPatience action;
    is_served = call_Member(other.Get(), L"translateit", {L"a text"}).has_value();
  });
  auto first = create_Object(semaphore, answer_AfterWork);
  EXPECT_FALSE(wait(first));
  meanwhile.join();
  EXPECT_TRUE(is_served);
  EXPECT_EQ(WaitForSingleObject(sender.get(), 0), WAIT_OBJECT_0)
      << "a message sent by another thread was not answered";
  MSG message;
  EXPECT_TRUE(PeekMessageW(&message, window, WM_APP, WM_APP, PM_REMOVE)) << "a posted message was taken away";
  // Two objects compete for the lock as those of two programs do.
  ReleaseMutex(taken.get());
  EXPECT_TRUE(wait(first));
  EXPECT_TRUE(wait(first)) << "its owner takes the lock again";
  const auto second = create_Object(semaphore, answer_AfterWork);
  EXPECT_FALSE(wait(second)) << "the lock is held by the first object";
  first.Reset();
  EXPECT_TRUE(wait(second));
}

TEST_F(Surrogate, ServesARightClickAndIsReleased) {
  const auto suite = install_Suite(), pdf = make_File(test_folder + L"a.pdf");
  std::filesystem::copy_file(built_File(LR"(..\i686\standins\NorvakWorkerProcess.exe)"),
                             suite + L"NorvakWorkerProcess.exe",
                             std::filesystem::copy_options::overwrite_existing);
  set_Value(norvak + L"AlwaysDebug", L"1");
  const auto right_Click = [&](bool is_first) {
    const Library library;
    answer_Boxes(library.handle());
    auto object = german_Menu(library, pdf);
    EXPECT_EQ(library.run("DllCanUnloadNow"), S_FALSE);
    if (is_first)
      invoke(object, 2);
    object.Reset();
    EXPECT_TRUE(becomes_True([&] { return library.run("DllCanUnloadNow") == S_OK; }));
    EXPECT_TRUE(becomes_True([] { return !is_ProcessRunning(L"NorvakWorkerProcess.exe"); }));
  };
  right_Click(true);
  // The emulation itself keeps some handles of each further right-click: four for each process that was
  // reached. What a row plants must be found on top of them.
  constexpr long kept = 3 * 4;
  const std::pair<void (*)(), std::array<long, Holdings::Kinds>> rows[] = {
      {[] {}, {kept}},
      {[] { CreateEventW(nullptr, FALSE, FALSE, nullptr); }, {kept + 1}},
      {[] { HeapAlloc(GetProcessHeap(), 0, 1); }, {kept, 0, 0, 1, 1}}};
  for (const auto& [leak, grown] : rows) {
    // The emulation's own threads may take or give back something at the same time.
    Holdings left;
    for (int tries = 0; tries < 5 && left != Holdings{grown}; ++tries) {
      const auto before = count_Holdings();
      right_Click(false);
      leak();
      left = count_Holdings() - before;
    }
    EXPECT_EQ(left, Holdings{grown});
  }
  EXPECT_EQ(GetModuleHandleW(L"NorvakContextMenu.dll"), nullptr);
  EXPECT_GT(read_Lines(suite + L"pdf.log").size(), 10u);
  EXPECT_EQ(read_Lines(test_folder + L"signed.log").size(), 1u) << "the worker found nothing in the store";
}

}  // namespace
