#include "settings/registry.h"

#include "base/text.h"
#include "settings/registry_administration.h"
#include "settings/registry_path.h"
#include "settings/registry_view.h"
#include "settings/script_host.h"
#include "tests/components.h"

namespace {

using namespace std::string_literals;

class Registry : public Machine {};

bool write(const std::wstring& path, const std::wstring& text) {
  return regwrite_sz(path, text);
}

bool write(const std::wstring& path, long number) {
  return regwrite_dw(path, number);
}

TEST_F(Registry, ReadsEachTypeInItsForm) {
  using namespace std::string_view_literals;
  const auto large = std::string(20000, 'x') + '\0';
  const std::tuple<DWORD, std::string_view, std::wstring> rows[] = {
      {REG_SZ, "Tr\xE4ger \x80\0"sv, L"Tr\u00E4ger \u20AC"},
      {REG_SZ, "abcd"sv.substr(0, 3), L"ab"},
      {REG_SZ, ""sv, L""},
      {REG_SZ, large, std::wstring(20000, L'x')},
      {REG_EXPAND_SZ, "%windir%\0"sv, L"%windir%"},
      {REG_MULTI_SZ, "a\0bc\0\0"sv, std::wstring(L"a\0bc", 4)},
      {REG_DWORD, "\xFF\xFF\xFF\xFF"sv, L"-1"},
      {REG_DWORD, "\7\1"sv, L""},
      {REG_QWORD, "\7\0\0\0\0\0\0\0"sv, L""},
      {REG_BINARY, "\7\0"sv, L""}};
  for (const auto& [type, bytes, text] : rows) {
    set_Bytes(norvak + L"a", type, bytes);
    EXPECT_EQ(as_Text(regread_api(norvak + L"a")), text) << type << " " << bytes.substr(0, 10);
  }
  EXPECT_EQ(regread_api(norvak + L"a"), RegistryValue(std::vector{std::byte{7}, std::byte{0}}));
  for (const auto& path : {norvak + L"missing", std::wstring(L"HKLM")})
    EXPECT_EQ(regread_api(path), RegistryValue());
  set_Value(LR"(HKCR\.p7m\)", L"default value");
  EXPECT_EQ(regread_Text(LR"(hkcr\.p7m\)"), L"default value");
}

TEST_F(Registry, RemembersTheLastPathOnlyAndRestsWhileQuiet) {
  const auto a = norvak + L"a", exit = norvak + L"doexit";
  for (const auto& path : {a, exit})
    set_Value(path, L"1");
  EXPECT_EQ(regread_Text(a), L"1");
  EXPECT_TRUE(write(a, L"2"));
  EXPECT_EQ(regread_Text(a), L"1");
  EXPECT_EQ(regread_Text(exit), L"1");
  EXPECT_TRUE(write(exit, -2L));
  EXPECT_EQ(regread_Text(exit), L"-2");
  EXPECT_EQ(regread_Text(a), L"2");
  EXPECT_EQ(regread_Text(norvak + L"missing"), L"");
  set_Value(norvak + L"missing", L"3");
  EXPECT_EQ(regread_Text(norvak + L"missing"), L"3");
  set_QuietState(true);
  EXPECT_EQ(regread_Text(a), L"");
  EXPECT_FALSE(write(a, L"3") || write(a, 3L));
}

TEST_F(Registry, IsForcedToTheMachineByItsFirstReadEvenForAPlainUser) {
  set_Value(norvak + L"forceHKLM", L" 1 ");
  set_Value(norvak + L"a", L"machine");
  set_Value(users + L"a", L"user");
  for (const auto* path : {LR"(HKCU\Software\Norvak\a)", LR"(HKEY_CURRENT_USER\\Software\Norvak\a)"})
    EXPECT_EQ(regread_Text(path), L"machine");
  set_Value(users + LR"(pdf\a)", L"user");
  become_PlainUser();
  EXPECT_EQ(regread_Text(norvak + LR"(pdf\a)"), L"");
  EXPECT_FALSE(write(norvak + LR"(pdf\a)", L"new"));
}

TEST_F(Registry, KeepsThePdfBranchOfAPlainUserApart) {
  for (const auto* name : {LR"(pdf\a)", LR"(pdf\b)", L"c"})
    set_Value(norvak + name, L"machine");
  for (const auto* name : {LR"(pdf\a)", L"c"})
    set_Value(users + name, L"user");
  become_PlainUser();
  EXPECT_EQ(regread_Text(norvak + LR"(pdf\a)"), L"user");
  EXPECT_EQ(regread_Text(norvak + LR"(pdf\b)"), L"machine");
  EXPECT_EQ(regread_Text(norvak + L"c"), L"machine");
  EXPECT_TRUE(write(norvak + LR"(pdf\b)", L"new"));
  EXPECT_FALSE(write(norvak + L"c", L"new"));
  EXPECT_EQ(regread_Text(norvak + LR"(pdf\b)"), L"new");
  EXPECT_EQ((Lines{value_At(norvak + LR"(pdf\b)"), value_At(users + LR"(pdf\b)"), value_At(norvak + L"c")}),
            (Lines{L"machine", L"new", L"machine"}));
}

TEST_F(Registry, RemembersReadsUntilASettingIsWritten) {
  const auto path = norvak + LR"(pdf\a)", spelled = LR"(HKLM\SOFTWARE\norvak\pdf\a)"s;
  const auto read_AfterChange = [&](const wchar_t* text) {
    set_Value(path, text);
    regread_Text(norvak + L"another path");
    return regread_Text(path);
  };
  set_Value(norvak + LR"(pdf\x)", L"");
  {
    const RememberedReads reads(RememberedReads::For::Selection);
    EXPECT_EQ(regread_Text(path), L"");
    EXPECT_EQ(read_AfterChange(L"1"), L"");
    EXPECT_EQ(regread_Text(spelled), L"1") << "another spelling may lead to another value";
  }
  EXPECT_EQ(read_AfterChange(L"2"), L"2") << "nothing is remembered between the two";
  {
    const RememberedReads reads(RememberedReads::For::Menu);
    EXPECT_EQ(read_AfterChange(L"3"), L"");
    for (const auto* name : {LR"(missing\a)", LR"(missing\below\a)"})
      EXPECT_EQ(regread_Text(norvak + name), L"");
    EXPECT_TRUE(write(norvak + LR"(missing\below\a)", L"written"));
    EXPECT_EQ(regread_Text(norvak + LR"(missing\below\a)"), L"written")
        << "the key above it was missing before";
    EXPECT_EQ(regread_Text(path), L"3");
  }
  // The next selection sees what another program has changed: a value, one in the user's branch, one in a new
  // key, and at last the removal of everything.
  const std::pair<std::wstring, const wchar_t*> changes[] = {
      {path, L"4"}, {path, L"5"}, {users + L"b", L"6"}, {users + L"b", L"7"}, {users + LR"(new\c)", L"8"}};
  for (const auto& [place, text] : changes) {
    for (const auto* expected : {L"", text}) {
      const RememberedReads reads(RememberedReads::For::Selection);
      regread_Text(norvak + L"another path");
      const auto read = regread_Text(place);
      EXPECT_TRUE(*expected == L'\0' || read == expected) << to_Ansi(read);
      set_Value(place, text);
    }
  }
  RegDeleteTreeA(HKEY_CURRENT_USER, R"(Software\Norvak)");
  const RememberedReads next(RememberedReads::For::Menu);
  EXPECT_EQ(regread_Text(users + L"b"), L"");
}

TEST_F(Registry, FallsBackToTheScriptHost) {
  Component host(L"WScript.Shell", {{L"RegWrite", answers({})}, {L"RegRead", answers(L"by host")}});
  for (const auto* name : {L"x", L"y"})
    set_Bytes(norvak + name, REG_NONE, "what no other way reads");
  EXPECT_EQ(regread_Text(norvak + L"x"), L"by host");
  const std::wstring own = LR"(HKLM\SOFTWARE\Norvak\)", suites(in_SuiteView(own));
  const auto made = L"+WScript.Shell"s, probe = L"RegRead(" + suites + L"ctest)";
  Lines expected{made, L"RegWrite(" + suites + L"ctest, 1, REG_DWORD)", probe, L"RegRead(" + suites + L"x)"};
  EXPECT_EQ(calls(), expected);
  host->Table[L"RegRead"] = fails();  // as an object whose process has died
  EXPECT_EQ(regread_Text(norvak + L"y"), L"");
  expected.insert(expected.end(), {probe, made, L"-WScript.Shell", L"RegRead(" + suites + L"y)"});
  if (!is_SuitesBitness)
    expected.push_back(L"RegRead(" + own + L"y)");
  EXPECT_EQ(regread_Text(norvak + L"missing"), L"");
  EXPECT_EQ(calls(), expected) << "a working host is not asked for a missing value";
}

TEST_F(Registry, ReportsAMissingScriptHost) {
  const Component host(L"WScript.Shell", {}, false);
  const Log log;
  EXPECT_EQ(regread_Text(norvak + L"missing"), L"");
  EXPECT_FALSE(write(norvak + L"a", L"1") || write(norvak + L"a", 1L));
  const std::wstring message = L"regi.CreateCOMObject wscript.shell failed in ";
  EXPECT_EQ(log.messages(),
            (Lines{message + L"regread", message + L"regwrite_sz", message + L"regwrite_dw"}));
}

TEST_F(Registry, FindsTheInstallFolderByItsIconAndRepairsTheValue) {
  make_File(LR"(c:\program files\bergstede\norvak.ico)");
  make_File(LR"(c:\programme\bergstede\norvak.ico)");
  const std::wstring folder = LR"(c:\programme\bergstede\)", path = norvak + LR"(pdf\path)";
  EXPECT_EQ(regread_Text(LR"(HKLM\SOFTWARE\NORVAK\PDF\Path)"), folder);
  EXPECT_EQ(value_At(path), L"(none)");
  EXPECT_EQ(regread_Text(path), folder);
  EXPECT_EQ((Lines{value_At(path), value_At(users + LR"(pdf\path)")}), Lines(2, folder));
  set_Value(path, LR"(c:\other)");
  EXPECT_EQ(regread_Text(norvak), L"");
  EXPECT_EQ(regread_Text(path), folder);
  EXPECT_EQ(value_At(path), LR"(c:\other)");
}

// Nor is it written down, and it stays out while the process lives.
TEST_F(Registry, LeavesAnInstallFolderAloneThatOthersCouldHaveMade) {
  const std::wstring planted = LR"(c:\programme\bergstede)", path = norvak + LR"(pdf\path)";
  make_File(planted + LR"(\norvak.ico)");
  open_ToAll(planted);
  EXPECT_EQ(regread_Text(path), L"");
  EXPECT_EQ(value_At(path), L"(none)");
  std::filesystem::remove_all(planted);
  make_File(planted + LR"(\norvak.ico)");
  EXPECT_EQ(regread_Text(norvak), L"");
  EXPECT_EQ(regread_Text(path), L"");
  make_File(LR"(c:\program files\bergstede\norvak.ico)");
  EXPECT_EQ(regread_Text(norvak), L"");
  EXPECT_EQ(regread_Text(path), LR"(c:\program files\bergstede\)");
}

TEST_F(Registry, WritesToTheSuitesViewAndReadsItsOwnWhereThatHasNothing) {
  constexpr auto* own_key = LR"(Software\Norvak\views)";  // for a 32-bit program this is the suite's view too
  const auto key = norvak + LR"(views\)", path = key + L"a";
  const std::tuple<std::function<bool()>, std::wstring, std::wstring> steps[] = {
      {[&] { return write(path, L"host's"); }, L"host's", L"host's"},
      {[&] { return deletevalue(path); }, L"(none)", L""},
      {[&] { return !RegSetKeyValueW(HKEY_LOCAL_MACHINE, own_key, L"a", REG_SZ, L"own", 8); },
       is_SuitesBitness ? L"own" : L"(none)", L"own"},
      {[&] { return createvalue(path, REG_SZ, L"functions'"); }, L"functions'", L"functions'"},
      {[&] { return deletevalue(path); }, L"(none)", is_SuitesBitness ? L"" : L"own"}};
  for (const auto& [change, in_suites_view, read] : steps) {
    EXPECT_TRUE(change());
    EXPECT_EQ(value_At(path), in_suites_view);
    const auto entries = EnumValues(key);
    EXPECT_EQ(entries.empty() ? L"" : as_Text(entries[0].Value), read);
    EXPECT_EQ(Lines({as_Text(regread_api(path)), read_ByScriptHost(path)}), Lines(2, read));
    const RememberedReads keys_kept(RememberedReads::For::Selection);
    EXPECT_EQ(as_Text(regread_api(path)), read);
  }
  EXPECT_EQ(EnumKey(norvak), Lines{L"views"});
  for (const auto* other : {LR"(HKCU\Software\a)", LR"(HKLM\Softwares\a)", LR"(hklm\software\wow6432node\a)",
                            LR"(HKLM\Software\Classes\a)", LR"(HKLM\Software)", L""})
    EXPECT_EQ(through_SuiteView(other), other);
  EXPECT_EQ(through_SuiteView(LR"(HKEY_LOCAL_MACHINE\Software\a)"),
            LR"(HKEY_LOCAL_MACHINE\Software\WOW6432Node\a)");
}

}  // namespace
