// The object as COM and Explorer use it, from its factory to the unloading of its DLL.
#include "shellext/shell_ext.h"
#include "shellext/class_identifiers.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <span>

#include "base/module.h"
#include "base/text.h"
#include "components/automation.h"
#include "host/doctor/diagnosis.h"
#include "shellext/interface_redirection.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

std::wstring short_Form(const std::wstring& path) {
  std::wstring text(MAX_PATH, L'\0');
  text.resize(GetShortPathNameW(path.c_str(), text.data(), MAX_PATH));
  return text;
}

class ShellExtension : public Explorer {
 protected:
  void SetUp() override {
    Explorer::SetUp();
    make_File(m_pdf);
    make_File(m_note);
  }
  HRESULT may_Unload() const { return m_library.run("DllCanUnloadNow"); }

  const std::wstring m_pdf = test_folder + L"a letter.pdf";
  const std::wstring m_note = test_folder + LR"(two words\a note.txt)";
};

TEST_F(ShellExtension, RefusesOtherClassesAndInterfaces) {
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(m_library.get_Class(clsid_ShellExt, IID_PPV_ARGS(&factory)), S_OK);
  EXPECT_EQ(m_library.get_Class(clsid_ShellExt, IID_IClassFactory, nullptr), E_POINTER);
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
  void* const rubbish = factory.Get();
  void* object[] = {rubbish, rubbish, rubbish, rubbish};
  EXPECT_EQ(m_library.get_Class(CLSID_ShellLink, IID_IClassFactory, &object[0]), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(m_library.get_Class(clsid_ShellExt, IID_IContextMenu, &object[1]), E_NOINTERFACE);
  EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &object[2]), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IStream, &object[3]), E_NOINTERFACE);
  EXPECT_EQ(std::ranges::count(object, nullptr), 4);
  EXPECT_EQ(factory.Reset(), 0u);
  EXPECT_EQ(may_Unload(), S_OK) << "a refused object still counts";
}

TEST_F(ShellExtension, LetsItsLibraryUnloadOnceNothingNeedsIt) {
  EXPECT_EQ(may_Unload(), S_OK);
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(m_library.get_Class(clsid_ShellExt, IID_PPV_ARGS(&factory)), S_OK);
  EXPECT_EQ(may_Unload(), S_FALSE) << "a factory is left";
  factory->LockServer(TRUE);
  factory.Reset();
  EXPECT_EQ(may_Unload(), S_FALSE) << "a lock is left";
  auto object = m_library.create();
  ASSERT_EQ(m_library.get_Class(clsid_ShellExt, IID_PPV_ARGS(&factory)), S_OK);
  factory->LockServer(FALSE);
  factory.Reset();
  EXPECT_EQ(may_Unload(), S_FALSE) << "an object is left";
  EXPECT_EQ(object.Reset(), 0u);
  EXPECT_EQ(may_Unload(), S_OK);
}

void expect_OneIdentity(IUnknown* object, std::span<const IID> interfaces) {
  ComPtr<IUnknown> identity;
  ASSERT_EQ(object->QueryInterface(IID_PPV_ARGS(&identity)), S_OK);
  for (const auto& from : interfaces) {
    for (const auto& to : interfaces) {
      ComPtr<IUnknown> start, end, same;
      ASSERT_EQ(object->QueryInterface(from, &start), S_OK);
      ASSERT_EQ(start->QueryInterface(to, &end), S_OK);
      ASSERT_EQ(end.As(&same), S_OK);
      EXPECT_EQ(same, identity);
      EXPECT_EQ(end->QueryInterface(IID_IStream, &same), E_NOINTERFACE);
      EXPECT_EQ(same, nullptr);
      EXPECT_EQ(end->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    }
  }
}

TEST_F(ShellExtension, LeadsFromEveryInterfaceToEveryOther) {
  const IID of_object[] = {IID_IUnknown, IID_IContextMenu, IID_IShellExtInit, IID_IDispatch, iid_ShellExt};
  const IID of_factory[] = {IID_IUnknown, IID_IClassFactory};
  auto object = m_library.create();
  expect_OneIdentity(object.Get(), of_object);
  EXPECT_EQ(object.Reset(), 0u);
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(m_library.get_Class(clsid_ShellExt, IID_PPV_ARGS(&factory)), S_OK);
  expect_OneIdentity(factory.Get(), of_factory);
  EXPECT_EQ(factory.Reset(), 0u);
}

TEST_F(ShellExtension, AnswersLateBoundCallers) {
  ComPtr<IDispatch> object;
  m_library.create().As(&object);
  EXPECT_EQ(read_Number(object.Get(), L"info"), 1);
  EXPECT_TRUE(call_Member(object.Get(), L"Install").has_value());
  EXPECT_TRUE(call_Member(object.Get(), L"remove").has_value());
  EXPECT_FALSE(call_Member(object.Get(), L"repair").has_value());
  EXPECT_FALSE(call_Member(object.Get(), L"info", {1L}).has_value());
}

std::vector<DWORD> protections;  // that were asked for

BOOL WINAPI refuse_WritableCode(void* memory, SIZE_T size, DWORD wanted, DWORD* before) {
  protections.push_back(wanted);
  static const auto protect = reinterpret_cast<decltype(&VirtualProtect)>(kernel_Function("VirtualProtect"));
  return wanted != PAGE_EXECUTE_READWRITE && protect(memory, size, wanted, before);
}

// After the first round the process forbids writable code.
TEST(PatchVTableEntry, ExchangesOneEntryOfAProtectedTable) {
  auto* const table = static_cast<ULONG_PTR*>(VirtualAlloc(nullptr, 4096, MEM_COMMIT, PAGE_READWRITE));
  for (const DWORD protection : {PAGE_EXECUTE_READ, PAGE_READONLY, PAGE_READWRITE}) {
    DWORD before = 0;
    VirtualProtect(table, 4096, PAGE_READWRITE, &before);
    std::ranges::copy(std::array{1, 2, 3, 4, 5, 6}, table);
    VirtualProtect(table, 4096, protection, &before);
    const auto* object = table;
    protections.clear();
    EXPECT_EQ(patch_VTableEntry(&object, 1, reinterpret_cast<void*>(10)), reinterpret_cast<void*>(1));
    EXPECT_EQ(patch_VTableEntry(&object, 4, reinterpret_cast<void*>(40)), reinterpret_cast<void*>(4));
    EXPECT_TRUE(std::ranges::equal(std::array{10u, 2u, 3u, 40u, 5u, 6u}, std::span(table, 6)));
    MEMORY_BASIC_INFORMATION page{};
    VirtualQuery(table, &page, sizeof page);
    EXPECT_EQ(page.Protect, protection);
    std::vector<DWORD> expected;
    for (int entries = 0; entries < 2 && protection == PAGE_READONLY; ++entries)
      expected.insert(expected.end(), {PAGE_EXECUTE_READWRITE, PAGE_READWRITE, PAGE_READONLY});
    EXPECT_EQ(protections, expected);
    if (protection == PAGE_EXECUTE_READ) {
      EXPECT_TRUE(patch_Import("VirtualProtect", reinterpret_cast<void*>(refuse_WritableCode)));
    }
  }
}

class Redirection : public Machine {};

TEST_F(Redirection, ReadsAClassIdentifierOrTellsTheFailure) {
  set_Value(LR"(HKCR\NorvakTranslator.Language\CLSID\)", L"{00000000-0000-0000-c000-0000000000ab}");
  EXPECT_EQ(get_ClsidString(L"NorvakTranslator.Language"), L"{00000000-0000-0000-C000-0000000000AB}");
  EXPECT_EQ(get_ClsidString(L"pIContextMenu.ShellExt"), L"Bad ProgId rc::-2147221005");
}

TEST_F(Redirection, LastsWhileAnObjectLivesAndWorksAgainAfterAReload) {
  set_Value(norvak + L"MultiSignator", L"1");
  for (const char* const load : {"first load", "second load"}) {
    SCOPED_TRACE(load);
    EXPECT_EQ(GetModuleHandleW(L"NorvakContextMenu.dll"), nullptr);
    const Library library;
    auto first = library.create();
    void* const volatile& entry = (*reinterpret_cast<void***>(first.Get()))[context_menu_entry - 1];
    void* const target = entry;
    first.Reset();
    void* const stub = entry;
    EXPECT_NE(stub, target);

    first = library.create();
    EXPECT_EQ(entry, target);
    select(first, Lines{test_folder});
    EXPECT_EQ(offered(first), folder_menu);
    patch_VTableEntry(first.Get(), context_menu_entry, stub);
    EXPECT_EQ(offered(first), Lines());
    EXPECT_EQ(first->QueryContextMenu(nullptr, 0, 1, 9, CMF_NORMAL), S_OK);
    patch_VTableEntry(first.Get(), context_menu_entry, target);

    auto second = library.create();
    first.Reset();
    EXPECT_EQ(entry, target);
    second.Reset();
    EXPECT_EQ(entry, target) << "overlapping objects leave the redirection behind";
  }
}

TEST_F(ShellExtension, LogsWhatItCapturesInOrder) {
  const Log log;
  const auto object = m_library.create();
  const auto folder = test_folder + L"two words";
  const auto both = short_Form(m_pdf) + L" " + short_Form(m_note);
  select(object, Lines{m_pdf, m_note});
  select(object, Lines{folder});
  select(object, nullptr);
  // The short names are kept, the entries are not.
  const auto all = both + L" " + short_Form(folder);
  EXPECT_EQ(log.messages(),
            (Lines{L"ifiles: 2", both, m_pdf + L"|" + m_note, L"Files: 2", L"ifiles: 1", all, folder,
                   L"Files: 1", L"DataFiles contains 1 entries", L"Files are all Directory",
                   L"Subscript out of range", L"ifiles: 0", all}));
}

TEST_F(ShellExtension, HasEveryFeatureInASuiteFolderAtADriveRoot) {
  set_Value(norvak + L"MultiSignator", L"0");
  const auto unpacked = test_folder + L"NorvakContextMenu.dll";
  CopyFileW(built_File(L"NorvakContextMenu.dll").c_str(), unpacked.c_str(), FALSE);
  const auto offered_By = [](const Library& library) {
    const auto object = library.create();
    select(object, Lines{test_folder});
    return offered(object);
  };
  EXPECT_EQ(offered_By(m_library), Lines());
  EXPECT_EQ(offered_By(Library(unpacked)), folder_menu);
}

TEST_F(ShellExtension, ForgetsTheEarlierSelectionWhenAnEmptyOneComes) {
  const auto fresh = m_library.create();
  select(fresh, nullptr);
  const auto expected = offered(fresh);
  for (const auto& before : {m_pdf, test_folder}) {
    const auto object = m_library.create();
    select(object, Lines{before});
    select(object, nullptr);
    EXPECT_EQ(offered(object), expected) << to_Ansi(before);
  }
}

TEST_F(ShellExtension, AnswersForAnIdentifierInTheRequestedForm) {
  const auto object = m_library.create();
  const std::string none = "nothing is written", caption = "Sign PDFs in Folder",
                    validation = "(GCS_VALIDATE)" + caption;
  const auto expect_Answer = [&](UINT first_id, UINT_PTR id, UINT flags, UINT room,
                                 const std::string& answer) {
    select(object, Lines{test_folder});
    offered(object, first_id);
    // The whole buffer is compared, so that nothing behind the terminator goes unseen.
    const std::size_t letter = flags < GCS_UNICODE ? 1 : 2;
    std::string buffer(256, '#');
    auto expected = buffer;
    for (std::size_t index = 0; answer != none && index <= answer.size(); ++index)
      expected.replace(index * letter, letter, std::string{answer.c_str()[index], '\0'}, 0, letter);
    EXPECT_EQ(object->GetCommandString(id, flags, nullptr, buffer.data(), room), S_OK);
    EXPECT_EQ(buffer, expected) << first_id << " " << id << " " << flags << " " << room;
    EXPECT_EQ(object->GetCommandString(id, flags, nullptr, nullptr, room), S_OK);
  };
  const std::string verb = "(GCS_VERB)MENUITEM";
  const std::array answers_ByFlags{verb + "1", caption,    validation, none, verb + "1",
                                   caption,    validation, none,       none};
  for (UINT flags = 0; flags < answers_ByFlags.size(); ++flags)
    expect_Answer(0, 0, flags, 60, answers_ByFlags[flags]);
  for (const UINT room : {20, 19, 18, 1})
    for (const UINT flags : {GCS_HELPTEXTA, GCS_HELPTEXTW})
      expect_Answer(0, 0, flags, room, caption.substr(0, room));
  expect_Answer(0, 0, GCS_HELPTEXTA, 0, none);
  expect_Answer(0, 0, GCS_HELPTEXTW, 0, none);
  // The identifier is the menu item's own, not an offset, and the verb holds its number plus one.
  for (const UINT_PTR id : {UINT_PTR{0}, UINT_PTR{8}, UINT_PTR{10}, ~UINT_PTR{0}})
    expect_Answer(9, id, GCS_HELPTEXTA, 60, none);
  expect_Answer(9, 9, GCS_VERBW, 60, verb + "10");
}

TEST_F(ShellExtension, RunsTheActionOfAnOffsetAndNothingForATextVerb) {
  const Log log;
  install_Suite();
  record_Starts(m_library.handle());
  const auto object = m_library.create();
  select(object, Lines{m_pdf});
  offered(object, 7);
  const auto at = [](ULONG_PTR number) { return reinterpret_cast<const char*>(number); };
  const std::pair<const char*, const char*> commands[] = {{at(0), nullptr},      {at(1), "  "},
                                                          {at(8), " c:\\here"},  {at(5), ""},
                                                          {at(0xFFF), nullptr},  {at(0xF0000000), nullptr},
                                                          {"view", "c:\\there"}, {at(~ULONG_PTR{0}), nullptr},
                                                          {at(0x1000), nullptr}};
  Lines expected{L"ActionString: view",   L"ActionString: quill!",    L"InvokeCommand:  c:\\here",
                 L"ActionString: quill!", L"ActionString: ",          L"ActionString: ",
                 L"ActionString: ",       L"InvokeCommand: c:\\there"};
  if (sizeof(void*) == 8)  // 0xF0000000 is then the address of a text verb
    expected.erase(expected.begin() + 4);
  const auto quill = opening(L"quill!.exe", m_pdf);
  for (const auto size : {DWORD{sizeof(CMINVOKECOMMANDINFO)}, DWORD{sizeof(CMINVOKECOMMANDINFOEX)}}) {
    forget_Calls();
    const auto boxes = boxes_During([&] {
      for (const auto& [verb, folder] : commands)
        invoke(object, verb, folder, size);
      EXPECT_EQ(object->InvokeCommand(nullptr), S_OK);
    });
    auto messages = log.messages();
    std::erase_if(messages, [](const auto& line) {
      return !line.starts_with(L"ActionString") && !line.starts_with(L"InvokeCommand");
    });
    EXPECT_EQ(messages, expected) << size;
    EXPECT_EQ(boxes, Lines(3, L"Configuration Problem: No Signature Certificate Configured"));
    EXPECT_EQ(take_Starts(), (Lines{opening(L"PageKeeper.exe", m_pdf), quill, quill}));
  }
}

std::vector<HWND> owners;
int WINAPI note_Owner(HWND owner, const wchar_t*, const wchar_t*, UINT) {
  owners.push_back(owner);
  return IDOK;
}

TEST_F(ShellExtension, ShowsItsMessagesOverTheWindowOfTheMenu) {
  patch_Import("MessageBoxW", reinterpret_cast<void*>(note_Owner), m_library.handle());
  const auto object = m_library.create();
  select(object, Lines{m_pdf});
  offered(object);
  const HWND window = GetDesktopWindow();
  for (const HWND hwnd : {window, HWND{}}) {
    CMINVOKECOMMANDINFO command{};
    command.cbSize = sizeof command;
    command.hwnd = hwnd;
    object->InvokeCommand(&command);
  }
  EXPECT_EQ(owners, (std::vector<HWND>{window, nullptr}));
}

// All objects share one table of actions, because Explorer may report a pick to another object than the one
// that filled the menu.
TEST_F(ShellExtension, SharesTheActionsOfTheLastMenuUntilASelectionOrTheEndOfAnObject) {
  const Log log;
  install_Suite();
  record_Starts(m_library.handle());
  const auto first = m_library.create();
  auto second = m_library.create();
  // Expects that the object finds this action for the first item and starts so many programs for it.
  const auto expect_Picked = [&](const ComPtr<IContextMenu>& object, const std::wstring& action,
                                 std::size_t starts) {
    boxes_During([&] { invoke(object, nullptr); });
    auto messages = log.messages();
    std::erase_if(messages, [](const auto& line) { return !line.starts_with(L"ActionString: "); });
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back(), L"ActionString: " + action);
    EXPECT_EQ(take_Starts().size(), starts);
  };
  select(first, Lines{m_pdf});
  const auto menu = offered(first);
  expect_Picked(second, L"view", 0);  // it has no files
  expect_Picked(first, L"view", 1);
  select(second, Lines{m_note});
  expect_Picked(first, L"", 0);
  offered(second);
  expect_Picked(first, L"p7s", 0);
  second.Reset();
  expect_Picked(first, L"", 0);
  select(first, Lines{m_pdf});
  EXPECT_EQ(offered(first), menu);
  expect_Picked(first, L"view", 1);
}

TEST_F(ShellExtension, EnsuresItsCertificateCacheAtEveryStep) {
  const std::wstring progid = L"NorvakCertInstaller.icache";
  const Component cache(progid);
  for (const auto& [info, lives] : {std::pair(answers(1L), true),
                                    {answers(L"2"), true},
                                    {answers(0L), false},
                                    {answers(L"none"), false},
                                    {fails(), false}}) {
    Lines steps;
    const auto noted = [&steps](const std::wstring& name, const Member& member) {
      return [&steps, name, member](const Arguments& arguments) {
        steps.push_back(name);
        return member(arguments);
      };
    };
    cache->Table = {{L"info", noted(L"info", info)},
                    {L"DisableSessionUnloading", noted(L"disable", answers({}))}};
    const auto made_Before = calls(L"+" + progid).size();
    auto object = m_library.create();
    select(object, nullptr);
    object->GetCommandString(0, 0, nullptr, nullptr, 0);
    object->InvokeCommand(nullptr);
    object.Reset();
    const Lines living{L"disable", L"info", L"info", L"info", L"info", L"info", L"info", L"info"};
    const Lines dying{L"disable", L"info", L"info", L"disable", L"info", L"info",
                      L"disable", L"info", L"info", L"disable", L"info"};
    EXPECT_EQ(steps, lives ? living : dying);
    EXPECT_EQ(calls(L"+" + progid).size() - made_Before, lives ? 1u : 4u);
    EXPECT_EQ(calls(L"+" + progid).size(), calls(L"-" + progid).size());
  }
}

TEST_F(ShellExtension, FillsAMenuThatHasItemsAndSurvivesAnInvalidOne) {
  install_Suite();
  const auto object = m_library.create();
  select(object, Lines{m_pdf});
  const Menu menu;
  AppendMenuW(menu.Handle, MF_STRING, 1, L"Open");
  AppendMenuW(menu.Handle, MF_STRING, 2, L"Properties");
  EXPECT_EQ(object->QueryContextMenu(menu.Handle, 1, 100, 100, CMF_EXPLORE), 5);
  EXPECT_EQ(menu.lines(), (Lines{L"1 Open", L"100 &Open with Norvak", L"101 Open &with quill!",
                                 L"102 &Create PDF Signature *", L"103 Create &PKCS7 Signature",
                                 L"104 Create PKCS7 &Envelope", L"-", L"2 Properties"}));
  const auto shown = menu.item(3);
  EXPECT_EQ(shown.hbmpChecked, shown.hbmpUnchecked);
  EXPECT_EQ(offered(object, 1, CMF_DEFAULTONLY), Lines());
  EXPECT_EQ(GetObjectType(shown.hbmpChecked), static_cast<DWORD>(OBJ_BITMAP));
  const Menu second;
  AppendMenuW(second.Handle, MF_STRING, 1, L"Open");
  EXPECT_EQ(object->QueryContextMenu(second.Handle, 1, 100, 200, CMF_NORMAL), 5);
  EXPECT_EQ(second.item(3).hbmpChecked, shown.hbmpChecked) << "the display is the same";
  EXPECT_EQ(GetObjectType(shown.hbmpChecked), static_cast<DWORD>(OBJ_BITMAP));
  const HMENU destroyed = CreatePopupMenu();
  DestroyMenu(destroyed);
  EXPECT_EQ(object->QueryContextMenu(nullptr, 0, 1, 99, CMF_NORMAL), 5);
  EXPECT_EQ(object->QueryContextMenu(destroyed, ~0u, 0xFFFFFFF0, 0, CMF_NORMAL), 5);
  EXPECT_EQ(offered(object).size(), 6u);
}

// Where the suite's folder is read in its usual spelling, the user's value takes the place of the machine's,
// and nowhere else. The doctor reports the same.
TEST_F(ShellExtension, ServesAUserWhoMayNotWriteForTheMachine) {
  const auto suite = install_Suite(), second = test_folder + LR"(second\)";
  set_Value(users + LR"(pdf\path)", suite);
  set_Value(norvak + LR"(pdf\path)", second);
  std::filesystem::create_directories(second);
  for (const auto* program : {L"quill!.exe", L"NorvakWorkerProcess.exe"})
    std::filesystem::rename(suite + program, second + program);
  record_Starts(m_library.handle());
  answer_Boxes(m_library.handle());
  become_PlainUser();
  const auto object = m_library.create();
  select(object, Lines{m_pdf});
  EXPECT_EQ(offered(object, 100).size(), 6u);
  for (const ULONG_PTR item : {0, 1})
    invoke(object, item);
  EXPECT_EQ(take_Starts(), (Lines{opening(L"PageKeeper.exe", m_pdf),
                                  ::quoted(second + L"quill!.exe") + L" " + ::quoted(m_pdf)}));
  const auto report = host::diagnose(host::make_Selection(Lines{m_pdf}));
  EXPECT_EQ(
      std::ranges::count_if(report.Items, [](const auto& item) { return item.Missing.Name == nullptr; }), 5);
}

TEST_F(ShellExtension, FreesADropListThatItIsGiven) {
  const auto object = m_library.create();
  const HGLOBAL block = make_Block(drop_List({test_folder}));
  DataObject given([block](STGMEDIUM& medium) {
    medium.tymed = TYMED_HGLOBAL;
    medium.hGlobal = block;
    return S_OK;
  });
  select(object, &given);
  EXPECT_EQ(GlobalFlags(block), UINT{GMEM_INVALID_HANDLE});
  EXPECT_EQ(offered(object), folder_menu);
}

}  // namespace
