#include "settings/registry_administration.h"

#include "settings/registry.h"
#include "settings/registry_view.h"
#include "tests/components.h"

namespace {

using namespace std::literals;
const auto keys = norvak + L"keys\\", leaf = keys + L"\u0416\\b", longest = std::wstring(255, L'k');
const std::vector bytes{std::byte{7}, std::byte{0}};

class RegistryAdministration : public testing::WithParamInterface<bool>, public Machine {
 protected:
  RegistryAdministration() { set_Value(provider, GetParam() ? server : L""); }
  ~RegistryAdministration() override { set_Value(provider, server); }
  const std::wstring provider = LR"(HKCR\CLSID\{4590F811-1D3A-11D0-891F-00AA004B2E24}\InprocServer32\)",
                     server = LR"(C:\windows\system32\wbem\wbemprox.dll)";
};
INSTANTIATE_TEST_SUITE_P(WithProvider, RegistryAdministration, testing::Bool());

TEST_P(RegistryAdministration, MakesListsAndRemovesKeysAndRestsWhileQuiet) {
  for (const auto& path : {leaf, keys + longest, keys})
    EXPECT_TRUE(createkey(path) && CheckAccess(path, KEY_READ) && createvalue(path + L"\\b", REG_SZ, L"1"s));
  EXPECT_FALSE(deletekey(keys) || deletekey(keys + L"\u0416") || deletekey(leaf + L"\0"s));
  EXPECT_EQ(EnumKey(keys), (Lines{longest, L"\u0416"}));
  EXPECT_TRUE(deletekey(leaf) && !deletekey(leaf) && !CheckAccess(leaf, KEY_READ));
  for (const auto* path : {LR"(HKLM\HARDWARE\takes no lasting key)", LR"(HKXX\a)", L""})
    EXPECT_FALSE(createkey(path) || createvalue(path + L"\\a"s, REG_SZ, L"1"s) || deletekey(path)) << path;
  set_QuietState(true);
  EXPECT_FALSE(createkey(keys) || createvalue(keys, REG_SZ, L"1"s) || deletevalue(keys + L"b") ||
               deletekey(keys + longest) || CheckAccess(keys, KEY_READ));
  EXPECT_TRUE(EnumKey(keys).empty() && EnumValues(keys).empty() && value_At(keys + L"b") == L"1");
}

TEST_P(RegistryAdministration, WritesListsAndRemovesValues) {
  const std::vector<RegistryEntry> entries{
      {L"", REG_SZ, L"Tr\u00E4ger"s},     {L"b", REG_BINARY, bytes},
      {L"d", REG_DWORD, L"-1"s},          {L"e", REG_EXPAND_SZ, L"%windir%"s},
      {longest + longest, REG_SZ, L"1"s}, {L"m", REG_MULTI_SZ, L"a\0bc"s}};
  for (const auto& [name, type, value] : entries)
    EXPECT_TRUE(createvalue(keys + name, type, value) && regread_api(keys + name) == value) << name;
  EXPECT_EQ(EnumValues(keys), entries);
  for (const auto& [name, type, value] : entries)
    EXPECT_TRUE(deletevalue(keys + name) && !deletevalue(keys + name)) << name;
  const std::pair<DWORD, RegistryValue> misfits[] = {
      {REG_DWORD, L"1x"s}, {REG_DWORD, bytes}, {REG_SZ, L"a\0b"s}, {REG_MULTI_SZ, L"a\0\0b"s},
      {REG_SZ, bytes},     {REG_QWORD, L"1"s}, {REG_BINARY, L"1"s}};
  for (const auto& [type, value] : misfits)
    EXPECT_FALSE(createvalue(keys + L"a", type, value) || !EnumValues(keys).empty()) << type;
  for (const DWORD type : {REG_DWORD, REG_SZ, REG_MULTI_SZ, REG_QWORD}) {
    set_Bytes(keys + L"a", type, "abc"sv.substr(0, 2));
    EXPECT_EQ(EnumValues(keys), (std::vector<RegistryEntry>{{L"a", type, L""s}})) << type;
  }
}

TEST_P(RegistryAdministration, KeepsAPlainUsersBranchApartAndFallsBackToTheScriptHost) {
  const Component host(L"WScript.Shell", {{L"RegWrite", answers({})}, {L"RegDelete", answers({})}}, false);
  const Log log;
  const auto pdf = norvak + LR"(pdf\k\)", own = LR"(HKCU\SOFTWARE\Norvak\pdf\k\)"s;
  EXPECT_TRUE(createkey(pdf) && createvalue(pdf + L"a", REG_DWORD, L"5"s) && CheckAccess(own, KEY_READ));
  EXPECT_EQ(value_At(own + L"a"), L"dword:5");
  EXPECT_TRUE(deletevalue(pdf + L"a") && deletekey(pdf) && EnumKey(pdf).empty() && EnumValues(pdf).empty());
  std::wstring members;
  for (const auto& message : log.messages())
    members += message.substr(message.rfind(L' '));
  EXPECT_EQ(members,
            GetParam()
                ? L" regread CheckAccess deletevalue"
                : L" regread createkey createvalue CheckAccess deletevalue deletekey EnumKey EnumValues");
  host->IsCreatable = true;
  EXPECT_TRUE(createvalue(pdf + L"e", REG_EXPAND_SZ, L"%a%") && deletevalue(pdf + L"e") && !deletevalue(pdf));
  EXPECT_EQ(calls(own), (Lines{L"RegWrite(" + own + L"e, %a%, REG_EXPAND_SZ)", L"RegDelete(" + own + L"e)"}));
  EXPECT_TRUE(deletevalue(norvak + L"e"));
  const auto suites = L"RegDelete(" + std::wstring(in_SuiteView(LR"(HKLM\SOFTWARE\Norvak\e)")) + L")";
  EXPECT_EQ(calls(suites), Lines{suites});
}

}  // namespace
