// What `menuhost doctor` finds on broken machines, and what all commands print for programs.
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>

#include "base/guid.h"
#include "base/module.h"
#include "base/text.h"
#include "host/doctor/component_state.h"
#include "host/doctor/registry_views.h"
#include "menu/items.h"
#include "shellext/class_identifiers.h"
#include "suite/component_list.h"
#include "tests/components.h"
#include "tests/menu_host.h"

namespace {

// The tables of a section of docs/menuhost.md: the first column without its quotes, and the second.
std::map<std::string, std::string> read_Table(const std::string& heading) {
  std::map<std::string, std::string> rows;
  bool is_inside = false;
  for (const auto& line : read_Lines(from_Ansi(SOURCE_FOLDER "/docs/menuhost.md"))) {
    const auto text = to_Ansi(line);
    if (text.starts_with("#"))
      is_inside = text == heading;
    const auto cells = split(line, L'|');
    if (is_inside && text.starts_with("| `"))
      for (const auto& name : split(cells[1], L','))
        rows[to_Ansi(split(name, L'`')[1])] = to_Ansi(std::wstring(trim(cells[2])));
  }
  return rows;
}

// A class that is a suite's component by the registry alone, which is all that the doctor looks at.
constexpr std::wstring_view component_class = LR"(HKCR\CLSID\{5E0A9A5B-5C0D-4C0F-9A43-5B4E2A3C1D7F}\)";
const auto extension_class = LR"(CLSID\)" + guid_Text(clsid_ShellExt) + L"\\";
constexpr std::wstring_view extensions_key =
    LR"(SOFTWARE\Microsoft\Windows\CurrentVersion\Shell Extensions\)";

// Sets the value in one view of the registry, or deletes it where there is no text.
void set_InView(const std::wstring& path, const wchar_t* text, REGSAM view) {
  const auto place = find_Place(path);
  HKEY opened = nullptr;
  RegCreateKeyExW(place.Root, place.Key.c_str(), 0, nullptr, 0, KEY_WRITE | view, nullptr, &opened, nullptr);
  const unique_hkey key(opened);
  if (text == nullptr)
    RegDeleteValueW(key.get(), place.Name.c_str());
  else
    RegSetValueExW(key.get(), place.Name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                   static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t)));
}

class Doctor : public MenuHost {
 protected:
  void TearDown() override {
    mend();
    for (const auto* kind : {L"*", L"Directory", L"Drive"})
      RegDeleteTreeW(HKEY_CLASSES_ROOT, handler_Key(kind).c_str());
    for (const auto view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY})
      RegDeleteKeyExW(HKEY_CLASSES_ROOT, (extension_class + L"InprocServer32").c_str(), view, 0);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (LR"(CLSID\)" + m_translator_class).c_str());
    remove_Package();
    MenuHost::TearDown();
  }

  // What Windows and the setup keep about the package for the first menu.
  static inline const std::wstring setups_note =
      LR"(HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall\Norvak Context Menu\Windows11)";
  static inline const std::wstring verb = guid_Text(clsid_ExplorerCommand);
  static inline const std::wstring policy = LR"(SOFTWARE\Policies\Microsoft\Windows\Appx)";
  static inline const std::wstring classic_menu =
      LR"(Software\Classes\CLSID\{86ca1aa0-34aa-4e8b-a509-50c905bae2a2})";
  static inline const std::pair<HKEY, std::wstring> packages[] = {
      {HKEY_LOCAL_MACHINE,
       LR"(SOFTWARE\Microsoft\Windows\CurrentVersion\Appx\AppxAllUserStore\Applications\Norvak.ContextMenu_1_x64__a)"},
      {HKEY_CURRENT_USER,
       LR"(Software\Classes\Local Settings\Software\Microsoft\Windows\CurrentVersion\AppModel\Repository\Packages\Norvak.ContextMenu_1_x64__a)"}};

  static void make_Key(HKEY root, const std::wstring& key) {
    HKEY opened = nullptr;
    RegCreateKeyExW(root, key.c_str(), 0, nullptr, 0, KEY_WRITE | host::explorers_View(), nullptr, &opened,
                    nullptr);
    unique_hkey{opened};
  }

  static void remove_Package() {
    for (const auto& [root, key] : packages)
      RegDeleteKeyExW(root, key.c_str(), host::explorers_View(), 0);
    for (const auto& key : {classic_menu + LR"(\InprocServer32)", classic_menu})
      RegDeleteKeyExW(HKEY_CURRENT_USER, key.c_str(), host::explorers_View(), 0);
    for (const auto* note : {L"Folder", L"Package"})
      set_InView(setups_note + note, nullptr, KEY_WOW64_32KEY);
    set_InView(LR"(HKLM\)" + policy + LR"(\AllowAllTrustedApps)", nullptr, host::explorers_View());
    for (const std::wstring root : {LR"(HKLM\)", LR"(HKCU\)"})
      set_InView(root + std::wstring(extensions_key) + LR"(Blocked\)" + verb, nullptr,
                 host::explorers_View());
    set_Value(norvak + L"Windows11Menu", L"");
  }

  static std::wstring handler_Key(const std::wstring& kind) {
    return kind + LR"(\shellex\ContextMenuHandlers\Norvak)";
  }

  // A class of the user's own; the machine's registration of it stays as it is.
  static inline const std::wstring users_class = LR"(HKCU\Software\Classes\)" + extension_class;

  // Where the header of a program or DLL names its processor, in two bytes.
  static std::size_t find_Processor(const std::string& file) {
    constexpr std::size_t header = 0x3C, signature = 4;
    return signature + static_cast<unsigned char>(file.at(header)) +
           0x100u * static_cast<unsigned char>(file.at(header + 1));
  }

  // The DLL, or a copy that is for this processor by its header.
  static std::wstring make_DllFor(const std::string& processor) {
    const auto built = built_File(L"NorvakContextMenu.dll"), copy = test_folder + L"copy.dll";
    auto bytes = read_Bytes(built);
    const auto place = find_Processor(bytes);
    if (bytes.compare(place, 2, processor) == 0)
      return built;
    bytes.replace(place, 2, processor);
    std::ofstream(std::filesystem::path(copy), std::ios::binary) << bytes;
    return copy;
  }

  static std::wstring make_ExplorersDll() {
    const auto explorer = read_Bytes(LR"(c:\windows\explorer.exe)");
    return make_DllFor(explorer.substr(find_Processor(explorer), 2));
  }

  // A machine without a fault, whatever was wrong with it.
  void mend() {
    remove_Package();
    const auto clsid = guid_Text(clsid_ShellExt);
    for (const auto& [view, dll] : {std::pair(KEY_WOW64_32KEY, built_File(L"NorvakContextMenu.dll")),
                                    {KEY_WOW64_64KEY, make_ExplorersDll()}}) {
      for (const auto& key : {users_class + L"InprocServer32", users_class})
        RegDeleteKeyExW(HKEY_CURRENT_USER, key.substr(5).c_str(), view, 0);
      set_InView(LR"(HKCR\)" + extension_class + LR"(InprocServer32\)", dll.c_str(), view);
      set_InView(LR"(HKCR\)" + extension_class + LR"(TypeLib\)", guid_Text(libid_ShellExt).c_str(), view);
      for (const std::wstring root : {LR"(HKLM\)", LR"(HKCU\)"})
        set_InView(root + std::wstring(extensions_key) + LR"(Blocked\)" + clsid, nullptr, view);
      set_InView(enforced, nullptr, view);
      set_InView(norvak + LR"(quill\path)", nullptr, view);
    }
    set_Value(LR"(HKCR\NorvakContextMenu.ShellExt\CLSID\)", clsid);
    for (const auto* kind : {L"*", L"Directory", L"Drive"})
      set_Value(LR"(HKCR\)" + handler_Key(kind) + L"\\", clsid);
    for (const auto* component : all_components)
      if (component != &translator_component)
        set_Value(LR"(HKCR\)" + std::wstring(component->ProgId) + LR"(\CLSID\)", component_id);
    set_Value(std::wstring(component_class) + LR"(InprocServer32\)", make_File(m_suite + L"component.dll"));
    set_Value(LR"(HKCR\CLSID\)" + m_translator_class + LR"(\InprocServer32\)", L"oleaut32.dll");
    set_Value(norvak + LR"(pdf\path)", m_suite);
    set_Value(norvak + L"AlwaysDebug", L"");
    set_Value(norvak + LR"(csp\INSTALLDIR)", L"");
    std::filesystem::remove_all(LR"(c:\srcbox)");
  }

  // The codes of the problems, or of what the list holds, that are found, and the exit status. Whether the
  // log is on is settled once a process, so that takes a `menuhost` of its own.
  static Lines examine(bool here, const std::wstring& list = L"problems") {
    const auto shown = run_MenuHost(L"doctor --json " + ::quoted(pdf), here);
    auto text = shown.front().substr(shown.front().find(L"\"" + list + L"\":["));
    text.resize(text.find(L']'));
    Lines codes;
    const std::wregex code(LR"x("code":"(\w+)")x");
    for (std::wsregex_iterator found(text.begin(), text.end(), code), end; found != end; ++found)
      codes.push_back((*found)[1]);
    codes.push_back(shown.back());
    return codes;
  }

  // The one component that a diagnosis itself asks; one that cannot be made takes a second each time.
  const Component m_translator{translator_component.ProgId,
                               {{L"translateit", [](const Arguments& text) { return text.at(0); }}}};
  const std::wstring m_translator_class =
      value_At(LR"(HKCR\)" + std::wstring(translator_component.ProgId) + LR"(\CLSID\)");
  static inline const std::wstring enforced =
      LR"(HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Policies\Explorer\EnforceShellExtensionSecurity)";
};

// Each fault alone has its problem and no other; all that do not hide another have theirs together.
TEST_F(Doctor, FindsEachFaultOfABrokenMachine) {
  const auto clsid = guid_Text(clsid_ShellExt);
  const REGSAM explorers = host::explorers_View();
  const std::wstring own = LR"(HKCR\)" + extension_class, server = own + LR"(InprocServer32\)",
                     gone = LR"(c:\gone\file.dll)";
  const auto remove_Handler = [](const wchar_t* kind) {
    return [kind] { RegDeleteTreeW(HKEY_CLASSES_ROOT, handler_Key(kind).c_str()); };
  };
  const auto write = [](std::wstring path, std::wstring text) { return [=] { set_Value(path, text); }; };
  const auto write_InView = [](std::wstring path, std::wstring text, REGSAM view) {
    return [=] { set_InView(path, text.c_str(), view); };
  };
  const auto block = [&](const std::wstring& root) {
    return write_InView(root + std::wstring(extensions_key) + LR"(Blocked\)" + clsid, L"", explorers);
  };
  struct Fault {
    Lines Codes;
    std::function<void()> Break;
    bool IsHidden = false;  // by another one
  };
  std::vector<Fault> faults{
      {{L"classMissing"},
       [&] {
         for (const auto view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY})
           set_InView(server, L"", view);
       },
       true},
      {{L"classFileGone"}, write_InView(server, gone, explorers), true},
      {{L"otherProcessor"},
       [&] { set_InView(server, make_DllFor("\xF0\x01").c_str(), explorers); },  // a PowerPC
       true},
      {{L"otherVersion"}, write_InView(server, LR"(c:\windows\explorer.exe)", explorers)},
      {{L"progIdMissing"}, write(LR"(HKCR\NorvakContextMenu.ShellExt\CLSID\)", component_id)},
      {{L"typeLibraryMissing"}, write(own + LR"(TypeLib\)", L"")},
      {{L"handlerMissing"}, remove_Handler(L"*")},
      {{L"handlerMissing"}, remove_Handler(L"Directory")},
      {{L"handlerMissing"}, remove_Handler(L"Drive")},
      {{L"notApproved"}, write_InView(enforced, L"1", explorers)},
      {{L"classOfUser"}, write_InView(users_class + LR"(InprocServer32\)", gone, explorers)},
      {{L"blocked"}, block(LR"(HKLM\)")},
      {{L"blocked"}, block(LR"(HKCU\)")},
      {{L"suiteMissing"}, write(norvak + LR"(pdf\path)", L""), true},
      {{L"componentMissing"}, write(LR"(HKCR\norvakcsp.PKCS7\CLSID\)", L"")},
      {Lines(5, L"componentFileGone"), write(std::wstring(component_class) + LR"(InprocServer32\)", gone),
       true},
      {{L"componentMissing", L"logNotWritable"},
       [&] {
         write(LR"(HKCR\logging.logme\CLSID\)", L"")();
         write(norvak + L"AlwaysDebug", L"1")();
       }},
      {{L"folderMissing"}, write(norvak + LR"(csp\INSTALLDIR)", LR"(c:\gone\)")},
      {{L"folderNotTrusted"},
       [] { open_ToAll(std::filesystem::path(make_File(LR"(c:\srcbox\worker\any.exe)")).parent_path()); }}};
  // What Windows told the setup that was asked for the first menu.
  for (const auto& [code, refusal] : {std::pair(L"policyRefused", L"0x80073CFF Not here."),
                                      {L"signatureRefused", L"Signed? 0x800B0109"},
                                      {L"packageRefused", L"No number."}})
    faults.push_back({{code},
                      [&, refusal] {
                        make_File(m_suite + L"NorvakContextMenu.dll");
                        set_InView(setups_note + L"Folder", m_suite.c_str(), KEY_WOW64_32KEY);
                        set_InView(setups_note + L"Package", refusal, KEY_WOW64_32KEY);
                      },
                      true});
  faults.push_back({{L"packageMissing", L"packageFileGone"},
                    [&] { set_InView(setups_note + L"Folder", L"c:\\gone", KEY_WOW64_32KEY); }});
  if (host::is_64BitWindows()) {
    faults.push_back({{L"noDllForExplorer"}, write_InView(server, L"", KEY_WOW64_64KEY), true});
    faults.push_back({{L"noDllFor32BitPrograms"}, write_InView(server, L"", KEY_WOW64_32KEY), true});
    faults.push_back(
        {{L"valueOverruled"}, write_InView(norvak + LR"(quill\path)", m_suite, KEY_WOW64_64KEY)});
  }
  mend();
  EXPECT_EQ(examine(true), Lines{L"[0]"});
  Lines expected;
  const auto documented = read_Table("## Problems");
  for (const auto& fault : faults) {
    for (const auto& code : fault.Codes)
      EXPECT_TRUE(documented.contains(to_Ansi(code))) << to_Ansi(code);
    fault.Break();
    auto codes = fault.Codes;
    codes.push_back(L"[3]");
    EXPECT_EQ(examine(fault.Codes.back() != L"logNotWritable"), codes);
    mend();
    if (!fault.IsHidden)
      expected.insert(expected.end(), fault.Codes.begin(), fault.Codes.end());
  }
  for (const auto& fault : faults)
    if (!fault.IsHidden)
      fault.Break();
  expected.push_back(L"[3]");
  auto found = examine(false);
  std::ranges::sort(expected);
  std::ranges::sort(found);
  EXPECT_EQ(found, expected);
}

// What keeps the items out of the first menu and is no fault of the machine.
TEST_F(Doctor, TellsWhyTheFirstMenuHasNoItems) {
  mend();
  Lines expected{L"windowsTooOld", L"packageMissing", L"[0]"};
  EXPECT_EQ(examine(true, L"obstacles"), expected);
  make_Key(packages[0].first, packages[0].second);
  expected[1] = L"notForThisUser";
  EXPECT_EQ(examine(true, L"obstacles"), expected);
  make_Key(packages[1].first, packages[1].second);
  expected.erase(expected.begin() + 1);
  EXPECT_EQ(examine(true, L"obstacles"), expected);
  const auto block = LR"(\)" + std::wstring(extensions_key) + LR"(Blocked\)" + verb;
  const std::pair<const wchar_t*, std::function<void()>> deeds[] = {
      {L"appsForbidden",
       [] { set_InView(LR"(HKLM\)" + policy + LR"(\AllowAllTrustedApps)", L"0", host::explorers_View()); }},
      {L"verbBlocked", [&] { set_InView(L"HKLM" + block, L"", host::explorers_View()); }},
      {L"verbBlocked", [&] { set_InView(L"HKCU" + block, L"", host::explorers_View()); }},
      {L"classicMenuForced", [] { make_Key(HKEY_CURRENT_USER, classic_menu + LR"(\InprocServer32)"); }},
      {L"switchedOff", [] { set_Value(norvak + L"Windows11Menu", L"0"); }}};
  const auto documented = read_Table("## The first menu");
  for (const auto& [code, deed] : deeds) {
    deed();
    expected.insert(expected.end() - 1, code);
    EXPECT_EQ(examine(true, L"obstacles"), expected);
  }
  for (const auto& code : expected)
    EXPECT_TRUE(code.starts_with(L'[') || documented.contains(to_Ansi(code))) << to_Ansi(code);
  const auto shown = run_MenuHost(L"doctor --all " + ::quoted(pdf), true);
  EXPECT_EQ(std::ranges::count(shown, L"  package  Norvak.ContextMenu_1_x64__a, for all users"), 1);
}

// What a 64-bit program needs to reach a 32-bit DLL of the suite.
TEST_F(Doctor, FollowsAComponentIntoItsSurrogate) {
  if (!host::is_64BitWindows() || is_SuitesBitness)
    return;
  mend();
  RegDeleteTreeW(HKEY_CLASSES_ROOT, (LR"(CLSID\)" + component_id).c_str());
  const auto reach = [] { return host::find_ComponentState(log_component); };
  using enum host::Reach;
  EXPECT_EQ(reach().How, Missing);
  make_File(m_suite + L"logmod.dll");
  EXPECT_EQ(reach().How, Unregistered);
  const auto own = LR"(HKCR\CLSID\)" + component_id + L"\\", entry = LR"(HKCR\AppID\)" + component_id + L"\\";
  set_InView(own + LR"(InprocServer32\)", L"c:\\gone.dll", KEY_WOW64_32KEY);
  EXPECT_EQ(reach().How, FileGone);
  set_InView(own + LR"(InprocServer32\)", L"logmod.dll", KEY_WOW64_32KEY);
  EXPECT_EQ(reach().How, Unreachable);
  EXPECT_EQ(reach().Entry, L"");
  set_InView(own + L"AppID", component_id.c_str(), KEY_WOW64_32KEY);
  EXPECT_EQ(reach().Entry, entry);
  set_Value(entry + L"DllSurrogate", L"");
  EXPECT_EQ(reach().How, Surrogate);
  set_InView(own + LR"(InprocServer32\)", L"logmod.dll", KEY_WOW64_64KEY);
  EXPECT_EQ(reach().How, Direct);
}

// The members of a JSON text with the kinds of their values: "items[].offered" is a "boolean". A text that is
// no JSON object, or has more than ASCII letters, fails the case.
class JsonMembers {
 public:
  using Kinds = std::map<std::string, std::set<std::string>>;
  JsonMembers(std::string text, Kinds& found) : m_text(std::move(text)), m_found(found) {
    read_Value("");
    EXPECT_EQ(m_text.substr(m_next), "\r\n");
    EXPECT_TRUE(std::ranges::all_of(m_text, [](char letter) { return letter > 0; }));
  }

 private:
  void expect(std::string_view word) {
    ASSERT_EQ(m_text.substr(m_next, word.size()), word) << m_text.substr(0, m_next);
    m_next += word.size();
  }
  std::string read_Text() {
    const std::regex quoted_text(R"x("([^"\\\x00-\x1f]|\\(["\\]|u[0-9a-f]{4}))*")x");
    std::smatch found;
    const auto rest = m_text.substr(m_next);
    EXPECT_TRUE(std::regex_search(rest, found, quoted_text, std::regex_constants::match_continuous)) << rest;
    m_next += static_cast<std::size_t>(found.length());
    return found.str().substr(1, static_cast<std::size_t>(found.length()) - 2);
  }
  void read_List(char first, char last, const std::function<void()>& read_element) {
    expect({&first, 1});
    while (m_text[m_next] != last && !testing::Test::HasFailure()) {
      read_element();
      if (m_text[m_next] == ',')
        ++m_next;
    }
    expect({&last, 1});
  }
  void read_Value(const std::string& name) {
    const char first = m_text[m_next];
    if (first == '{') {
      read_List('{', '}', [&] {
        const auto member = read_Text();
        expect(":");
        read_Value(name.empty() ? member : name + "." + member);
      });
    } else if (first == '[') {
      read_List('[', ']', [&] { read_Value(name + "[]"); });
    } else if (first == '"') {
      read_Text();
      m_found[name].insert("text");
    } else if (isdigit(first) != 0) {
      m_next = m_text.find_first_not_of("0123456789", m_next);
      m_found[name].insert("number");
    } else {
      const std::string word = first == 'n' ? "null" : first == 't' ? "true" : "false";
      expect(word);
      m_found[name].insert(first == 'n' ? word : "boolean");
    }
  }

  std::string m_text;
  std::size_t m_next = 0;
  Kinds& m_found;
};

// What is printed has just the members of the tables, with values of those kinds, and each was seen.
TEST_F(Doctor, PrintsTheJsonThatIsDocumented) {
  answer_Boxes(m_library.handle());
  mend();
  set_Value(norvak + L"useini", L"");
  set_Bytes(norvak + LR"(CSP\CardConnector)", REG_BINARY, "\1\2");
  for (const REGSAM view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY})
    set_InView(LR"(HKCU\)" + std::wstring(extensions_key) + LR"(Blocked\)" + guid_Text(clsid_ShellExt), L"",
               view);
  const auto log = make_File(m_suite + L"pdf.log", L"a line");
  make_Key(packages[0].first, packages[0].second);
  set_InView(setups_note + L"Folder", L"c:\\gone", KEY_WOW64_32KEY);
  set_InView(setups_note + L"Package", L"no", KEY_WOW64_32KEY);
  const Library signer(built_File(LR"(standins\norvakcsp.dll)"));
  ASSERT_EQ(signer.run("DllRegisterServer"), S_OK);
  const auto file = ::quoted(pdf);
  const std::pair<std::string, Lines> cases[] = {
      {"### list", {L"list --json --first-id 0 " + file}},
      {"### list --modern", {L"list --json --modern " + file}},
      {"### invoke, show", {L"invoke --json 4 " + file, L"show --json --flags 8 " + file}},
      {"### doctor", {L"doctor --json " + file}},
      {"### log", {L"log show --json", L"log off --json"}}};
  for (const auto& [heading, commands] : cases) {
    JsonMembers::Kinds found;
    for (const auto& command : commands) {
      run_MenuHost(command, !command.starts_with(L"log off"));  // writes are forbidden here by then
      JsonMembers(read_Bytes(test_folder + L"output"), found);
    }
    auto documented = read_Table(heading);
    for (const auto& [name, kinds] : found)
      for (const auto& kind : kinds)
        EXPECT_NE(documented[name].find(kind), std::string::npos) << heading << " " << name << " is " << kind;
    for (const auto& [name, kinds] : documented)
      EXPECT_TRUE(found.contains(name) || kinds.starts_with("object") || kinds.starts_with("list"))
          << heading << " has no " << name;
  }
  signer.run("DllUnregisterServer");
  for (const auto& item : menu_items)
    for (const auto& condition : item.Needs)
      EXPECT_TRUE(condition.Name == nullptr || read_Table("## Conditions").contains(to_Ansi(condition.Name)));
}

}  // namespace
