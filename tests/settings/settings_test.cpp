// The list of settings, docs/settings.md and the policy templates name the same values.
#include "settings/settings.h"

#include <algorithm>

#include "components/automation.h"
#include "components/object_creation.h"
#include "settings/registry_api.h"
#include "tests/machine.h"

namespace {

class Settings : public Machine {};

TEST_F(Settings, AreListedInTheDocumentAndInThePolicyTemplates) {
  const std::wstring source = L"Z:" SOURCE_FOLDER L"/";
  auto rows = read_Lines(source + L"docs/settings.md");
  std::erase_if(rows, [](const auto& line) { return !line.starts_with(L"| `HK"); });
  const auto document = create_Object(L"Msxml2.DOMDocument.6.0");
  put_Property(document.Get(), L"async", false);
  for (const auto* file :
       {L"de-DE/NorvakContextMenu.adml", L"en-US/NorvakContextMenu.adml", L"NorvakContextMenu.admx"})
    EXPECT_TRUE(bool(*call_Member(document.Get(), L"load", {(source + L"policies/" + file).c_str()})));
  const auto count = [&](const std::wstring& nodes) {
    return read_Number(*call_Member(document.Get(), L"selectNodes", {nodes.c_str()}), L"length");
  };
  long policies = 0;
  for (const auto* setting : all_settings) {
    const std::wstring path = setting->Path, type = setting->Type, none = setting->Default;
    const auto row = L"| `" + path + L"` | " + type + L" | " + (none.empty() ? L"(empty)" : none) + L" | ";
    EXPECT_EQ(std::ranges::count_if(rows, [&](auto& line) { return line.starts_with(row); }), 1) << path;
    const auto place = find_Place(path);
    const long offered = setting->Use != Usage::Written && place.Root != HKEY_CLASSES_ROOT;
    policies += offered;
    const auto* scope = place.Root == HKEY_LOCAL_MACHINE ? L"Machine" : L"User";
    const auto* number = type == L"REG_DWORD" ? L"boolean" : L"not";
    const auto policy = L"//*[@valueName='" + place.Name + L"' and ancestor-or-self::*/@class='" + scope +
                        L"' and ancestor-or-self::*/@key='SOFTWARE" + place.Key.substr(8) + L"' and " +
                        number + L"(.//*[local-name()='decimal'])]";
    EXPECT_EQ(count(policy), offered) << path;
  }
  EXPECT_EQ(rows.size(), all_settings.size());
  EXPECT_EQ(count(L"//@valueName"), policies);
}

}  // namespace
