// The verb of the first menu of Windows 11 and its children, as COM hands them out.
#include "shellext/explorer_command.h"

#include <shellapi.h>
#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <numeric>

#include "base/unknown.h"
#include "host/explorer/handles.h"
#include "tests/components.h"
#include "tests/first_menu.h"

namespace {

class FirstMenu : public Explorer {
 protected:
  void SetUp() override {
    Explorer::SetUp();
    for (auto& paths : m_selections)
      for (auto& path : paths)
        path[0] = path[0] == L'c' ? L'C' : path[0];  // as the shell spells its drive
    make_DriveE();
    answer_Boxes(m_library.handle());
    record_Starts(m_library.handle());
  }

  Lines classic(const Lines& paths) const {
    const auto object = m_library.create();
    select(object, paths);
    return offered(object);
  }

  static EXPCMDSTATE state_Of(const ComPtr<IExplorerCommand>& command, IShellItemArray* items,
                              BOOL may_be_slow) {
    EXPCMDSTATE state = ECS_DISABLED;
    EXPECT_EQ(command->GetState(items, may_be_slow, &state), S_OK);
    return state;
  }

  const std::wstring m_pdf = make_File(test_folder + L"a letter.pdf");
  std::vector<Lines> m_selections{
      {m_pdf},
      {make_File(test_folder + L"sealed & signed.p7m")},
      {make_Picture(test_folder + L"\u5951\u7D04 100%.bmp")},
      {make_File(test_folder + L"a link.lnk"), m_pdf},
      {make_File(test_folder + L"no ending"), m_pdf, test_folder.substr(0, test_folder.size() - 1)},
      {test_folder.substr(0, test_folder.size() - 1)},
      {LR"(E:\)"},
      Lines(20, m_pdf)};
};

// Machines with more and more of the suite: nothing, a feature, its programs, a drive with a container.
class FirstMenus : public FirstMenu, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Machines, FirstMenus, testing::Range(0, 4));

TEST_P(FirstMenus, HaveTheItemsOfTheClassicMenu) {
  set_Value(norvak + L"MultiSignator", GetParam() > 0 ? L"1" : L"");
  if (GetParam() > 1) {
    install_Suite();
    set_Value(norvak + L"CardConnector", L"1");
  }
  if (GetParam() > 2)
    make_File(LR"(E:\norvak\norvak.tc)");
  std::size_t shown = 0, icons = 0;
  for (const auto& paths : m_selections) {
    const auto expected = classic(paths);
    const auto menu = first_Menu(m_library, paths);
    EXPECT_EQ(lines_Of(menu), expected);
    EXPECT_EQ(menu.IsShown, !expected.empty());
    EXPECT_EQ(menu.Title, L"Norvak");
    shown += menu.Items.size();
    for (const auto& item : menu.Items)
      if (auto file = item.Icon; !file.empty()) {
        const int number = PathParseIconLocationW(file.data());
        HICON icon = nullptr;
        EXPECT_EQ(ExtractIconExW(file.c_str(), number, nullptr, &icon, 1), 1u) << number;
        EXPECT_NE(unique_hicon(icon), nullptr);
        ++icons;
      }
  }
  const std::array<std::size_t, 4> least{0, 8, 20, 20};
  EXPECT_GE(shown, least[static_cast<std::size_t>(GetParam())]);
  EXPECT_EQ(icons > 0, GetParam() > 1);
}

// A selection that hands out a data object, and nothing else of it.
class DataItems final : public Unknown<IShellItemArray> {
 public:
  explicit DataItems(IDataObject* data) : m_data(data) {}
  STDMETHODIMP BindToHandler(IBindCtx*, REFGUID handler, REFIID iid, void** object) override {
    return handler == BHID_DataObject ? m_data->QueryInterface(iid, object) : E_NOTIMPL;
  }
  STDMETHODIMP GetPropertyStore(GETPROPERTYSTOREFLAGS, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP GetPropertyDescriptionList(REFPROPERTYKEY, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP GetAttributes(SIATTRIBFLAGS, SFGAOF, SFGAOF*) override { return E_NOTIMPL; }
  STDMETHODIMP GetCount(DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP GetItemAt(DWORD, IShellItem**) override { return E_NOTIMPL; }
  STDMETHODIMP EnumItems(IEnumShellItems**) override { return E_NOTIMPL; }

 private:
  IDataObject* m_data;
};

TEST_F(FirstMenu, TakesTheDropListOfTheSelectionWhereItHasOne) {
  install_Suite();
  const auto verb = create_Verb(m_library);
  for (const auto& paths : m_selections) {
    DataObject data(paths);
    EXPECT_EQ(lines_Of(host::query_Verb(verb.Get(), ComPtr<DataItems>(new DataItems(&data)).Get())),
              classic(paths));
  }
  DataObject refusing([](STGMEDIUM&) { return E_FAIL; });
  EXPECT_FALSE(host::query_Verb(verb.Get(), ComPtr<DataItems>(new DataItems(&refusing)).Get()).IsShown);
}

TEST_F(FirstMenu, IsHiddenInTheClassicMenuAndWhereItIsSwitchedOff) {
  const auto verb = create_Verb(m_library);
  const auto items = host::make_Items(Lines{test_folder});
  const std::pair<const wchar_t*, EXPCMDSTATE> values[] = {{L"", ECS_ENABLED},
                                                           {L" 0 ", ECS_HIDDEN},
                                                           {L"1", ECS_ENABLED},
                                                           {L"0", ECS_HIDDEN},
                                                           {L"off", ECS_ENABLED}};
  for (const auto& [value, state] : values) {
    set_Value(norvak + L"Windows11Menu", value);
    EXPECT_EQ(state_Of(verb, items.Get(), TRUE), state) << value;
    EXPECT_EQ(state_Of(verb, items.Get(), FALSE), ECS_HIDDEN) << value;
  }
  // What is no file is left out.
  host::unique_id_list desktop, folder;
  for (auto [path, list] :
       {std::pair(L"::{20D04FE0-3AEA-1069-A2D8-08002B30309D}", &desktop), {test_folder.c_str(), &folder}}) {
    PIDLIST_ABSOLUTE found = nullptr;
    ASSERT_EQ(SHParseDisplayName(path, nullptr, &found, 0, nullptr), S_OK);
    list->reset(found);
  }
  PCIDLIST_ABSOLUTE lists[] = {desktop.get(), folder.get()};
  for (const UINT count : {1u, 2u}) {
    ComPtr<IShellItemArray> mixed;
    ASSERT_EQ(SHCreateShellItemArrayFromIDLists(count, lists, &mixed), S_OK);
    EXPECT_EQ(host::query_Verb(verb.Get(), mixed.Get()).Items.size(), count - 1);
  }
  EXPECT_EQ(state_Of(verb, nullptr, TRUE), ECS_HIDDEN);
}

// The programs that were started, the files that the PKCS#7 component was called for, and those to be signed.
Lines take_Deeds() {
  auto deeds = take_Starts();
  for (const auto* part : {L"P7x", L"set_PIN(SignFiles"})
    for (const auto& call : calls(part))
      deeds.push_back(part[0] == L'P' ? call.substr(0, call.find(L',')) : call);
  return deeds;
}

// Each child of each selection is picked when all menus are there, the last one first.
TEST_F(FirstMenu, RunsTheActionForTheSelectionThatComesWithThePick) {
  Components components;
  install_Suite();
  set_Value(norvak + L"CardConnector", L"1");
  std::vector<std::pair<ComPtr<IExplorerCommand>, Lines>> picks;
  std::vector<Lines> expected;
  for (const auto& paths : m_selections) {
    if (paths.front() == LR"(E:\)")
      continue;  // its items are others once one was picked
    const auto menu = first_Menu(m_library, paths);
    const auto object = m_library.create();
    select(object, paths);
    offered(object, 100);
    for (std::size_t index = 0; index < menu.Items.size(); ++index) {
      picks.emplace_back(menu.Items[index].Command, paths);
      forget_Calls();
      components.Store.Values.clear();
      invoke(object, index);
      expected.push_back(take_Deeds());
    }
  }
  EXPECT_GT(picks.size(), 12u);
  const auto other = m_library.create();
  for (auto index = picks.size(); index-- > 0;) {
    select(other, m_selections[index % m_selections.size()]);
    offered(other);
    forget_Calls();
    components.Store.Values.clear();
    const auto& [command, paths] = picks[index];
    EXPECT_EQ(command->Invoke(host::make_Items(paths).Get(), nullptr), S_OK);
    EXPECT_EQ(take_Deeds(), expected[index]) << index;
  }
  forget_Calls();
  EXPECT_EQ(picks.front().first->Invoke(nullptr, nullptr), S_OK);
  EXPECT_EQ(take_Starts(), Lines());
}

TEST_F(FirstMenu, CountsItsChildrenAsWindowsAsks) {
  install_Suite();
  const auto verb = create_Verb(m_library);
  const auto items = host::make_Items(Lines{m_pdf});
  ComPtr<IEnumExplorerCommand> children, copy;
  ASSERT_EQ(verb->EnumSubCommands(&children), S_OK);
  std::array<IExplorerCommand*, 8> all{};
  ULONG count = 9;
  EXPECT_EQ(children->Next(8, all.data(), &count), S_FALSE) << "nothing was selected yet";
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(state_Of(verb, items.Get(), TRUE), ECS_ENABLED);
  ASSERT_EQ(verb->EnumSubCommands(&children), S_OK);
  EXPECT_EQ(children->Skip(4), S_OK);
  ASSERT_EQ(children->Clone(&copy), S_OK);
  EXPECT_EQ(children->Next(2, all.data(), &count), S_FALSE);
  EXPECT_EQ(count, 1u);
  IExplorerCommand* last = nullptr;
  EXPECT_EQ(copy->Next(1, &last, nullptr), S_OK);
  EXPECT_EQ(last, all[0]);
  EXPECT_EQ(copy->Skip(1), S_FALSE);
  EXPECT_EQ(copy->Next(2, &last, nullptr), E_POINTER);
  EXPECT_EQ(copy->Reset(), S_OK);
  EXPECT_EQ(copy->Skip(5), S_OK);
  EXPCMDFLAGS flags = 0;
  EXPECT_EQ(verb->GetFlags(&flags), S_OK);
  EXPECT_EQ(flags, ECF_HASSUBCOMMANDS);
  EXPECT_EQ(last->GetFlags(&flags), S_OK);
  EXPECT_EQ(flags, ECF_DEFAULT);
  GUID name{};
  wchar_t* text = nullptr;
  for (auto* command : {verb.Get(), last}) {
    EXPECT_EQ(command->GetToolTip(items.Get(), &text), E_NOTIMPL);
    EXPECT_EQ(command->GetIcon(items.Get(), &text), E_NOTIMPL);
    EXPECT_EQ(command->GetCanonicalName(&name), E_NOTIMPL);
    for (const HRESULT refused :
         {command->GetTitle(nullptr, nullptr), command->GetIcon(nullptr, nullptr),
          command->GetState(nullptr, TRUE, nullptr), command->GetFlags(nullptr),
          command->EnumSubCommands(nullptr), command->QueryInterface(IID_IUnknown, nullptr)})
      EXPECT_EQ(refused, E_POINTER);
  }
  last->Release();
  all[0]->Release();
}

TEST_F(FirstMenu, IsReleasedInAnyOrder) {
  std::array<int, 5> order{};
  std::iota(order.begin(), order.end(), 0);
  do {
    std::array<ComPtr<IUnknown>, 5> objects;
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(m_library.get_Class(clsid_ExplorerCommand, IID_PPV_ARGS(&factory)), S_OK);
    auto verb = create_Verb(m_library);
    ComPtr<IEnumExplorerCommand> children, copy;
    ComPtr<IExplorerCommand> child;
    state_Of(verb, host::make_Items(Lines{test_folder}).Get(), TRUE);
    verb->EnumSubCommands(&children);
    children->Clone(&copy);
    ASSERT_EQ(copy->Next(1, &child, nullptr), S_OK);
    objects = {factory, verb, children, copy, child};
    factory.Reset();
    verb.Reset();
    children.Reset();
    copy.Reset();
    child.Reset();
    for (const int index : order) {
      EXPECT_EQ(m_library.run("DllCanUnloadNow"), S_FALSE);
      objects[static_cast<std::size_t>(index)].Reset();
    }
    EXPECT_EQ(m_library.run("DllCanUnloadNow"), S_OK);
  } while (std::ranges::next_permutation(order).found);
}

}  // namespace
