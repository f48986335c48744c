// The extension in a program of an administrator, of the system or of a service.
#include <filesystem>

#include "base/text.h"
#include "components/object_creation.h"
#include "files/processes.h"
#include "tests/accounts.h"
#include "tests/components.h"
#include "tests/first_menu.h"
#include "tests/menu_host.h"

namespace {

class Accounts : public Explorer {
 protected:
  void SetUp() override {
    Explorer::SetUp();
    install_Suite();
    record_Starts(m_library.handle());
    answer_Boxes(m_library.handle());
  }

  // The captions that are offered for a PDF in either menu, and the programs that start when each is picked.
  Lines pick_All() {
    const auto object = m_library.create();
    select(object, {make_File(test_folder + L"a.pdf")});
    auto lines = offered(object);
    for (auto offset = lines.size(); offset-- > 0;)
      invoke(object, offset);
    const Lines paths{test_folder + L"a.pdf"};
    for (const auto& item : first_Menu(m_library, paths).Items) {
      lines.push_back(item.Title);
      item.Command->Invoke(host::make_Items(paths).Get(), nullptr);
    }
    for (auto& start : take_Starts())
      lines.push_back(start);
    return lines;
  }
};

class AccountKinds : public Accounts, public testing::WithParamInterface<const wchar_t*> {};

// The system, its two services, one of the service manager, one of a web server's pools, the last of their
// kind.
INSTANTIATE_TEST_SUITE_P(Service, AccountKinds,
                         testing::Values(L"S-1-5-18", L"S-1-5-20", L"S-1-5-80-1-2-3-4-5", L"S-1-5-111-0"));

TEST_P(AccountKinds, HasNoMenuNoComponentAndNoProgram) {
  const Components components;
  pretend_Account(true, GetParam(), m_library.handle());
  pretend_AccessLists({}, m_library.handle());
  EXPECT_EQ(pick_All(), Lines());
  EXPECT_EQ(calls(), Lines());
}

// Whoever asks for them.
TEST_F(Accounts, OfTheSystemGetNoComponentAndNoProgram) {
  const auto program = make_File(test_folder + L"program.exe");
  record_Starts();
  pretend_Account(false, L"S-1-5-18");
  EXPECT_EQ(create_Object(L"WScript.Shell"), nullptr);
  EXPECT_FALSE(start_Program(::quoted(program)));
  EXPECT_EQ(take_Starts(), Lines());
}

// In the number of an account, a person's domain may look like a service.
TEST_F(Accounts, OfAPersonHaveTheMenu) {
  const Components components;
  pretend_Account(false, L"S-1-5-21-18-80-111-20", m_library.handle());
  EXPECT_GT(pick_All().size(), 3u);
  EXPECT_NE(calls(), Lines());
}

class Elevated : public Accounts, public testing::WithParamInterface<bool> {};

INSTANTIATE_TEST_SUITE_P(, Elevated, testing::Bool(),
                         [](const auto& row) { return row.param ? "ClosedFolder" : "OpenFolder"; });

// The folder of the suite belongs to the person here, who is an administrator only when asked.
TEST_P(Elevated, StartsOnlyWhatNobodyElseCouldHavePutThere) {
  const auto suite = test_folder + L"the suite";
  pretend_Account(true, {}, m_library.handle());
  pretend_AccessLists({{suite, GetParam() ? closed_list : L"O:S-1-5-21-1-2-3-1000D:(A;;FA;;;SY)"}},
                      m_library.handle());
  Lines started;
  for (const auto& line : pick_All())
    if (line.find(L".exe") != std::wstring::npos)
      started.push_back(line);
  EXPECT_EQ(started.empty(), !GetParam());
}

// Its DLL is in the same folder.
TEST_P(Elevated, LoadsOnlyTheComponentsThatNobodyElseCouldHavePutThere) {
  const auto suite = test_folder + L"the suite", component = suite + LR"(\component.dll)",
             record = test_folder + L"record.log";
  SetEnvironmentVariableW(L"NORVAK_SUITE_RECORD", record.c_str());
  std::filesystem::copy_file(built_File(L"decoy.dll"), component);
  set_Value(LR"(HKCR\norvakpdf.edit\CLSID\)", component_id);
  set_Value(LR"(HKCR\CLSID\)" + component_id + LR"(\InprocServer32\)", component);
  pretend_Account(true);
  pretend_AccessLists({{suite, GetParam() ? closed_list : closed_list + L"(A;;0x1301bf;;;AU)"}});
  create_Object(L"norvakpdf.edit");
  register_Server(component);
  EXPECT_EQ(read_Lines(record).empty(), !GetParam());
  RegDeleteTreeW(HKEY_CLASSES_ROOT, (LR"(CLSID\)" + component_id).c_str());
}

}  // namespace
