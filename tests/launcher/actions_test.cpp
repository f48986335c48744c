#include "tests/launcher/actions.h"

#include <process.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "base/handles.h"
#include "base/owner_window.h"
#include "base/text.h"
#include "suite/value_cache.h"
#include "tests/holdings.h"

namespace {

namespace fs = std::filesystem;

// Refuses as a share does that nobody may write to.
BOOL WINAPI refuse_CopyBeside(const wchar_t* from, const wchar_t* to, BOOL) {
  return !contains(to, test_folder) && fs::copy_file(from, to);
}

// What each action starts, and what it notes: two registry values, the marker file and the shared value.
TEST_F(Actions, StartTheirProgramsAndNoteTheDrive) {
  make_DriveE();
  fs::current_path(test_folder);
  for (const std::wstring folder :
       {LR"(E:\)", LR"(E:\my stick\)", L"true"})  // the last one below the current folder
    make_File(folder + LR"(Norvak\Vaultware.exe)");
  const Lines portable{LR"(E:\Norvak\Vaultware.exe	E:\Norvak\Vaultware.exe stop)"};
  const Lines worker{start(L"NorvakWorkerProcess.exe", L" signit")};
  const std::wstring gone = LR"(dword:0|E:\|(none)|)", container = LR"(pdf\UniqueContainerName)";
  const struct {
    const wchar_t* Action;
    Lines Starts;
    std::wstring Notes;
    std::wstring Setting, Value;  // set before the action; a name without a path is a shared value
  } rows[] = {{L"mount", {start(L"Vaultware.exe", L" mountdrive")}, LR"(dword:1|E:\|E:\|true)", L"", L""},
              {L"unmount", {start(L"Vaultware.exe", L" unmountdrive")}, gone, L"", L""},
              {L"unmount", {}, gone, L"", L""},
              {L"unmount", portable, gone, users + L"StickDrive", L"E"},
              {L"unmount",
               {LR"(E:\my stick\Norvak\Vaultware.exe	E:\my stick\Norvak\Vaultware.exe stop)"},
               gone,
               users + L"StickDrive",
               LR"(E:\my stick\)"},
              {L"unmount", {}, gone, users + L"StickDrive", L""},
              {L"unmount", portable, gone, norvak + L"StickDrive", L"E:"},
              {L"unmount", {}, gone, norvak + L"StickDrive", L""},
              {L"unmount", portable, gone + LR"(E:\)", L"StickDrive", LR"(E:\)"},
              {L"unmount", {}, gone + L"true", L"StickDrive", L"true"},
              {L"create", {start(L"NorvakConfig.exe", L" 3")}, gone + L"true", L"", L""},
              {L"signit", worker, gone + L"true", L"", L""},
              {L"sfolder", {}, gone + L"true", users + container, L" "},
              {L"sfolder", worker, gone + L"true", norvak + container, L" k "}};
  for (const auto& [action, expected, notes, setting, value] : rows) {
    if (contains(setting, L"\\"))
      set_Value(setting, value);
    else
      set_PermanentCache(setting, value);
    const bool queues = std::wstring_view(action) == L"signit" || std::wstring_view(action) == L"sfolder";
    set_PermanentCache(L"SignFiles", L"");  // as a worker leaves it when it is done
    EXPECT_EQ(run(action, entries({LR"(E:\)"})), queues ? Lines{} : box);
    EXPECT_EQ(take_Starts(), expected) << to_Ansi(action) << to_Ansi(value);
    EXPECT_EQ(m_store.Values[L"SignFiles"].empty(), expected != worker);
    const auto marker = read_Lines(LR"(E:\mounted.txt)");
    EXPECT_EQ(value_At(users + LR"(CSP\StickMounted)") + L"|" + value_At(users + LR"(CSP\LastCryptDrive)") +
                  L"|" + (marker.empty() ? L"(none)" : marker[0]) + L"|" + m_store.Values[L"StickDrive"],
              notes);
  }
}

TEST_F(Actions, OpenEachFileAndSkipWhatIsNoFile) {
  const Log log;
  Lines paths;
  const std::wstring longest(MAX_PATH - 1 - test_folder.size() - 4, L'x');
  const Lines names{L"a.pdf",       L"b & c.PDF",     L"100% ^'; (1).xml", L"Tr\u00E4ger.pdf",
                    L"skipped.txt", L"no extension.", longest + L".pdf",   L"last.pdf"};
  for (const auto& name : names)
    paths.push_back(make_File(test_folder + name));
  const auto short_path = make_File(test_folder + L"short.pdf"), missing = test_folder + L"missing.pdf";
  auto files = entries(paths);
  files.insert(files.begin() + 1, {L"", short_path});
  files.insert(files.begin() + 1, {{missing, L""}, {test_folder, L""}});
  EXPECT_EQ(run(L"view", files), box);
  const auto program = m_suite + L"PageKeeper.exe";
  const auto messages = log.messages();
  EXPECT_EQ(
      Lines(messages.begin(), messages.begin() + 7),
      (Lines{paths[0], L"do action: " + paths[0], L"Found: " + program,
             ::quoted(program) + L" " + ::quoted(paths[0]), missing, L"do action: " + missing, test_folder}));
  run(L"view", {{L"", L""}, {paths[0], L""}});
  EXPECT_EQ(take_Starts(),
            starts(L"PageKeeper.exe", {L"a.pdf", L"short.pdf", L"b & c.PDF", L"100% ^'; (1).xml",
                                       L"Tr\u00E4ger.pdf", longest + L".pdf", L"last.pdf"}));
}

TEST_F(Actions, OpenSignableFilesWithQuill) {
  Lines paths;
  for (const auto* ending : {L"d2d", L"p7m", L"p7s", L"pdf", L"PKCS7", L"png", L"xml"})
    paths.push_back(make_File(test_folder + L"a." + ending));
  EXPECT_EQ(run(L"quill!", entries(paths)), box);
  EXPECT_EQ(take_Starts(), starts(L"quill!.exe", {L"a.d2d", L"a.p7m", L"a.pdf", L"a.PKCS7", L"a.xml"}));
}

TEST_F(Actions, KeepThePdfOfAPictureBesideIt) {
  const HWND window = CreateWindowW(L"STATIC", L"", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
  set_hwnd(window);
  select_Flags(L"Image");
  const auto fresh = make_File(test_folder + L"a.PNG"), done = make_File(test_folder + L"b.tif");
  make_File(done + L".pdf", L"kept");
  run(L"view", entries({fresh, done, make_File(test_folder + L"c.doc")}));
  const auto handle = std::to_wstring(reinterpret_cast<LONG_PTR>(window));
  const std::wstring flag = L"calledfromshellextension", made = L"norvakpdf.edit";
  Lines expected;
  for (const auto& picture : {fresh, done})
    expected.insert(expected.end(),
                    {L"+" + made, L"set_hwnd(" + handle + L")", flag + L"=-1", L"set_caller(" + flag + L")",
                     L"img2pdf(" + picture + L", 128)", flag + L"=0", L"set_caller(" + flag + L"_clear)",
                     flag + L"=0", L"-" + made});
  auto asked = calls();
  std::erase_if(asked,
                [](const auto& call) { return contains(call, L"SemaPhore") || contains(call, L"iCache"); });
  EXPECT_EQ(asked, expected);
  EXPECT_EQ(read_Lines(fresh + L".pdf"), Lines{L"made"});
  EXPECT_EQ(read_Lines(done + L".pdf"), Lines{L"kept"});
  EXPECT_EQ(temporary_Files(), Lines{});
  EXPECT_EQ(take_Starts(), starts(L"PageKeeper.exe", {L"a.PNG.pdf", L"b.tif.pdf", L"c.doc"}));
  m_editor->Table[L"img2pdf"] = answers(done.c_str());  // is not a temporary file, so it must not be deleted
  run(L"view", entries({done}));
  EXPECT_EQ(take_Starts(), starts(L"PageKeeper.exe", {L"b.tif.pdf"}));
  EXPECT_TRUE(fs::exists(done));
}

TEST_F(Actions, ShowAPictureWhenNoPdfCanBeKeptBesideIt) {
  patch_Import("CopyFileW", reinterpret_cast<void*>(refuse_CopyBeside));
  use_Clock();
  select_Flags(L"Image");
  const auto picture = make_File(test_folder + L"a.png"), envelope = make_File(test_folder + L"b.p7m");
  run(L"view", entries({picture}));
  const auto started = take_Starts(), temporary = temporary_Files();
  ASSERT_EQ(temporary.size(), 1u);
  const auto shown = temporary[0] + LR"(\picture.pdf)";
  EXPECT_EQ(started, Lines{start(L"PageKeeper.exe", L" " + ::quoted(shown))});
  EXPECT_EQ(read_Lines(shown), Lines{L"made"});
  for (const auto& [minutes, left] : {std::pair(9, 1u), {11, 0u}}) {
    clock_Time = minutes * 60'000ull;
    run(L"vPKCS7", entries({envelope}));
    EXPECT_EQ(temporary_Files().size(), left) << minutes;
  }
}

// Every call of a component fails once, and so does the making of its objects: the later steps are still
// taken, and nothing stays behind.
TEST_F(Actions, GoOnAfterACallThatFails) {
  make_DriveE();
  const auto picture = make_File(test_folder + L"a.png"), envelope = make_File(test_folder + L"b.p7m");
  const std::tuple<std::wstring, Lines, std::size_t> rows[] = {
      {L"view", {picture}, 1},          {L"mount", {LR"(E:\)"}, 1}, {L"unmount", {LR"(E:\)"}, 1},
      {L"create", {LR"(E:\)"}, 1},      {L"signit", {picture}, 1},  {L"p7s", {picture, envelope}, 0},
      {L"p7m", {picture, envelope}, 0}, {L"vPKCS7", {envelope}, 0}};
  for (const auto& [action, paths, programs] : rows) {
    select_Flags(L"Image");
    const auto arrange = [&] {
      set_Value(users + LR"(CSP\StickMounted)", L"1");
      for (const auto* left : {L"a.png.pdf", L"a.png.p7s", L"b.p7m.p7s"})
        fs::remove(test_folder + left);
      m_store.Values.clear();
      set_PermanentCache(L"SignFiles", L"");
    };
    bool has_Failed = true;
    for (long number = 1; has_Failed; ++number) {
      arrange();
      fail_Call(number);
      auto shown = run(action, entries(paths));
      has_Failed = fail_Call(0);
      const auto failures =
          std::erase_if(shown, [](const auto& text) { return text.starts_with(L"Norvak: "); });
      EXPECT_LE(failures, has_Failed ? 1u : 0u) << to_Ansi(action) << number;
      EXPECT_EQ(shown, action == L"signit" ? Lines{} : box);
      EXPECT_EQ(take_Starts().size(), programs) << to_Ansi(action) << number;
      EXPECT_TRUE(action != L"p7s" || fs::exists(picture + L".p7s") || fs::exists(envelope + L".p7s"));
      EXPECT_EQ(temporary_Files(), Lines{});
      for (const std::wstring object : {L"norvakpdf.edit", L"norvakcsp.PKCS7", L"NorvakInter.SemaPhore"})
        EXPECT_EQ(calls(L"+" + object).size(), calls(L"-" + object).size()) << to_Ansi(object);
    }
    arrange();
    const auto handles = kernel_Handles();
    run(action, entries(paths));
    EXPECT_EQ(kernel_Handles(), handles) << to_Ansi(action);
    take_Starts();
  }
}

// Each row: what is missing or refuses, the action, and what happens all the same: programs started and files
// left.
TEST_F(Actions, GoOnWithoutWhatIsMissing) {
  const auto picture = make_File(test_folder + L"a.png"), text = make_File(test_folder + L"b.txt");
  make_File(text + L".p7s", L"older");
  const auto folder_Content = [] {
    std::wstring names;
    for (const auto* name : {L"a.png", L"a.png.pdf", L"b.txt.p7s"})
      names += fs::exists(test_folder + name) ? name + std::wstring(L" ") : L"";
    return names;
  };
  select_Flags(L"Image");
  const auto shown = [this](const wchar_t* name) { return starts(L"PageKeeper.exe", {name}); };
  const auto writes = [](const wchar_t* content, HRESULT result, bool answer) {
    return [=](const Arguments& arguments) {
      make_File(text_Of(arguments.at(1)), content);
      return SUCCEEDED(result) ? _variant_t(answer) : throw result;
    };
  };
  const Component host(L"WScript.Shell", {{L"RegRead", fails()}, {L"RegWrite", fails()}});
  const auto envelope = make_File(test_folder + L"a.png.pdf.p7m");
  const Lines none, vaultware{start(L"Vaultware.exe", L" mountdrive")};
  const std::wstring earlier = L"b.txt.p7s ", all = L"a.png " + earlier;
  const std::tuple<const char*, std::wstring, std::wstring, Lines, std::wstring, std::function<void()>>
      rows[] = {{"a refused envelope", L"vPKCS7", envelope, none, all,
                 [&] { m_pkcs7->Table[L"validate_P7x"] = writes(L"content", S_OK, false); }},
                {"no PDF component", L"view", picture, shown(L"a.png"), all,
                 [&] { m_editor->IsCreatable = false; }},
                {"no PKCS#7 component", L"p7s", text, none, all, [&] { m_pkcs7->IsCreatable = false; }},
                {"a component that writes half", L"p7s", text, none, all,
                 [&] {
                   m_pkcs7->IsCreatable = true;
                   m_pkcs7->Table[L"create_P7x"] = writes(L"half", E_FAIL, false);
                 }},
                {"a vanished drive", L"mount", LR"(Q:\)", vaultware, all, [] {}},
                {"a vanished file", L"view", picture, none, earlier, [&] { fs::remove(picture); }},
                {"no tool", L"create", LR"(Q:\)", none, earlier, [&] { fs::remove_all(m_suite); }},
                {"no worker", L"signit", text, none, earlier, [] {}}};
  for (const auto& [fault, action, path, expected, content, make] : rows) {
    make();
    run(action, entries({path}));
    EXPECT_EQ(take_Starts(), expected) << fault;
    EXPECT_EQ(folder_Content(), content) << fault;
    EXPECT_EQ(temporary_Files(), Lines{}) << fault;
  }
  EXPECT_EQ(m_store.Values[L"StickDrive"], L"true");
  EXPECT_EQ(m_store.Values[L"SignFiles"], L"") << "nobody would carry this order out";
  EXPECT_EQ(value_At(users + LR"(CSP\StickMounted)"), L"(none)") << "this key may not be written";
}

TEST_F(Actions, MarkADriveWithoutFollowingALinkOnIt) {
  make_DriveE();
  const auto victim = make_File(test_folder + L"victim.txt", L"kept");
  _wspawnl(_P_NOWAIT, LR"(Z:\bin\ln)", L"ln", L"-s", L"../victim.txt",
           LR"("norvaks machine/drive/mounted.txt")", nullptr);
  while (!fs::exists(LR"(E:\mounted.txt)"))
    Sleep(10);
  run(L"mount", entries({LR"(E:\)"}));
  EXPECT_EQ(read_Lines(LR"(E:\mounted.txt)"), Lines{LR"(E:\)"});
  EXPECT_EQ(read_Lines(victim), Lines{L"kept"});
}

BOOL WINAPI refuse_Start(const wchar_t*, wchar_t*, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*, BOOL, DWORD,
                         void*, const wchar_t*, STARTUPINFOW*, PROCESS_INFORMATION*) {
  return FALSE;
}

TEST_F(Actions, LeaveTheNotesOfADriveWhenItsProgramDoesNotStart) {
  make_DriveE();
  const auto notes = [] {
    return Lines{value_At(users + LR"(CSP\StickMounted)"), value_At(users + LR"(CSP\LastCryptDrive)")};
  };
  const Lines refused{
      L"Norvak: The secure drive program could not be started.\r\n" + m_suite + L"Vaultware.exe", box[0]};
  patch_Import("CreateProcessW", reinterpret_cast<void*>(refuse_Start));
  EXPECT_EQ(run(L"mount", entries({LR"(E:\)"})), refused);
  EXPECT_EQ(notes(), Lines(2, L"(none)"));
  EXPECT_FALSE(fs::exists(LR"(E:\mounted.txt)"));
  set_Value(users + LR"(CSP\StickMounted)", L"1");
  set_Value(users + LR"(CSP\LastCryptDrive)", LR"(F:\)");
  make_File(LR"(E:\mounted.txt)");
  for (const auto* action : {L"unmount", L"mount"})
    EXPECT_EQ(run(action, entries({LR"(E:\)"})), refused);
  EXPECT_EQ(notes().back(), LR"(F:\)");
  EXPECT_TRUE(fs::exists(LR"(E:\mounted.txt)"));
  EXPECT_EQ(m_store.Values[L"StickDrive"], L"");
}

TEST_F(Actions, TellWhichFilesCouldNotBeOpened) {
  patch_Import("CreateProcessW", reinterpret_cast<void*>(refuse_Start));
  const auto file = make_File(test_folder + L"a.pdf"), other = make_File(test_folder + L"b.pdf");
  const auto not_opened = L"Norvak: The file could not be opened.\r\n" + file + L"\r\n" + other;
  const std::pair<const wchar_t*, std::wstring> rows[] = {
      {L"view", not_opened},
      {L"quill!", not_opened},
      {L"create",
       L"Norvak: The configuration program could not be started.\r\n" + m_suite + L"NorvakConfig.exe"}};
  for (const auto& [action, told] : rows)
    EXPECT_EQ(run(action, entries({file, other})), (Lines{told, box[0]}));
}

TEST_F(Actions, EndWithATranslatedMessageExceptThoseOfTheQueue) {
  const Component translator(L"NorvakTranslator.Language",
                             {{L"translateit", [](const Arguments& arguments) {
                                 return _variant_t((L"de " + text_Of(arguments.at(0))).c_str());
                               }}});
  for (const auto* action : {L"signit", L"sfolder"})
    EXPECT_EQ(run(action, {}), Lines{});
  for (const auto* action : {L"view", L"create"})
    EXPECT_EQ(run(action, {}), Lines{L"de Configuration Problem: de No Signature Certificate Configured"});
  EXPECT_EQ(calls(L"translateit").size(), 2u);
}

}  // namespace
