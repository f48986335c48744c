// Windows of Explorer side by side: each on a thread and in an apartment of its own, with components of its
// own, all in one process with the DLL. With NORVAK_ENDURANCE set each right-clicks 25,000 times
// (scripts/endure).
#include <array>
#include <atomic>
#include <cstdlib>
#include <optional>
#include <set>

#include "base/handles.h"
#include "menu/composition.h"
#include "shellext/class_identifiers.h"
#include "shellext/interface_redirection.h"
#include "tests/components.h"
#include "tests/explorer.h"
#include "tests/first_menu.h"
#include "tests/thread.h"
#include "tests/window.h"

namespace {

class Windows : public Machine, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override;

  // The menu of a right-click on the files, and then the help texts of its first two items and the first menu
  // of Windows 11.
  Lines right_Click(const Lines& paths) const;

  const Library m_library;
  const std::vector<Lines> m_selections{
      {make_File(test_folder + L"a letter.pdf")},
      {test_folder.substr(0, test_folder.size() - 1)},
      {make_File(test_folder + L"sealed.p7m")},
      {LR"(E:\)"},
      {make_File(test_folder + L"a.txt"), make_File(test_folder + L"b.pdf"), test_folder},
      {make_File(test_folder + L"a.lnk"), test_folder + L"a letter.pdf"}};
};

void Windows::SetUp() {
  Machine::SetUp();
  make_DriveE();
  answer_Boxes(m_library.handle());
  record_Starts(m_library.handle());
  for (const auto* setting : {L"MultiSignator", L"CardConnector"})
    set_Value(norvak + setting, L"1");
}

Lines Windows::right_Click(const Lines& paths) const {
  const auto object = m_library.create();
  select(object, paths);
  auto shown = offered(object, 0);
  for (const UINT_PTR item : {0, 1}) {
    wchar_t text[128] = {};
    object->GetCommandString(item, GCS_HELPTEXTW, nullptr, reinterpret_cast<char*>(text), 100);
    shown.emplace_back(text);
  }
  for (const auto& item : first_Menu(m_library, paths).Items)
    shown.push_back(item.Title);
  return shown;
}

INSTANTIATE_TEST_SUITE_P(Machines, Windows, testing::Values("Suite", "Log", "Bare"));

// At any time each window has another selection.
TEST_P(Windows, SeeNoMenuOfAnother) {
  const std::string machine = GetParam();
  if (machine != "Bare")
    install_Suite();
  const bool is_logged = machine == "Log";
  const auto furnish = [&](std::optional<Components>& components) {
    if (machine != "Bare")
      components.emplace();
    if (!is_logged)
      set_Value(norvak + L"AlwaysDebug", L"");
  };
  std::vector<Lines> expected(m_selections.size());
  Window().run([&] {
    std::optional<Components> components;
    furnish(components);
    std::ranges::transform(m_selections, expected.begin(),
                           [this](const auto& paths) { return right_Click(paths); });
  });
  EXPECT_GE(std::set(expected.begin(), expected.end()).size(), 4u);

  constexpr std::size_t windows = 4;
  const auto rounds = std::getenv("NORVAK_ENDURANCE") != nullptr ? 25'000u : 150u;
  std::atomic<long> wrong = 0, unlogged = 0;
  forget_Calls(false);
  std::vector<Window> all(windows);
  for (std::size_t window = 0; window < windows; ++window)
    all[window].start([&, window] {
      std::optional<Components> components;
      furnish(components);
      std::atomic<long> lines = 0;
      if (components)
        components->Logger->Table[L"logge"] = [&lines](const Arguments&) { return _variant_t(++lines); };
      for (std::size_t round = 0; round < rounds; ++round) {
        const auto which = (window + round) % m_selections.size();
        const auto before = lines.load();
        wrong += right_Click(m_selections[which]) != expected[which];
        unlogged += is_logged && lines == before;
      }
    });
  for (auto& window : all)
    window.wait();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(unlogged, 0);
  EXPECT_EQ(calls_ByStrangers(), 0);
}

// Both windows select, then both ask for their menus, then both pick. The second item that they pick writes
// through the script host.
TEST_F(Windows, PickTheirOwnItemOfTheirOwnFile) {
  install_Suite();
  make_File(test_folder + LR"(drive\norvak\norvak.tc)");
  const Lines files[] = {m_selections[0], {make_File(test_folder + L"a note.txt")}};
  struct Side {
    Window Thread;
    std::optional<Components> Own;
    ComPtr<IContextMenu> Object;
    Lines Menu;
  } sides[2];
  const auto in_turn = [&](const std::function<void(Side&, std::size_t)>& step) {
    for (std::size_t side = 0; side < 2; ++side)
      sides[side].Thread.run([&] { step(sides[side], side); });
  };
  in_turn([&](Side& side, std::size_t) {
    side.Own.emplace();
    side.Object = m_library.create();
  });
  in_turn([&](Side& side, std::size_t index) { select(side.Object, files[index]); });
  in_turn([](Side& side, std::size_t) { side.Menu = offered(side.Object); });
  EXPECT_NE(sides[0].Menu, sides[1].Menu);
  in_turn([](Side& side, std::size_t) { invoke(side.Object, ULONG_PTR{0}); });
  EXPECT_EQ(take_Starts(), Lines{opening(L"PageKeeper.exe", m_selections[0][0])});
  in_turn([&](Side& side, std::size_t) {
    select(side.Object, m_selections[3]);
    offered(side.Object, 100);
    invoke(side.Object, ULONG_PTR{1});
  });
  EXPECT_EQ(calls(L"RegWrite(HKCU\\SOFTWARE\\Norvak\\CSP\\StickMounted").size(), 2u)
      << "one window mounts and the other unmounts";
  in_turn([](Side& side, std::size_t) {
    side.Object.Reset();
    side.Own.reset();
  });
  EXPECT_EQ(calls_ByStrangers(), 0);
}

// The first window's translator waits until the second one's right-clicks are done.
TEST_F(Windows, DoNotWaitForEachOther) {
  install_Suite();
  const unique_kernel_handle asked(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  Window slow, quick;
  DWORD waited = WAIT_FAILED;
  slow.start([&] {
    const Component translator(L"NorvakTranslator.Language", {{L"translateit", [&](const Arguments& text) {
                                                                 SetEvent(asked.get());
                                                                 waited =
                                                                     WaitForSingleObject(done.get(), 60'000);
                                                                 return text.at(0);
                                                               }}});
    right_Click(m_selections[0]);
  });
  WaitForSingleObject(asked.get(), 60'000);
  quick.run([&] {
    for (const auto& paths : m_selections)
      right_Click(paths);
  });
  SetEvent(done.get());
  slow.wait();
  EXPECT_EQ(waited, WAIT_OBJECT_0);
}

// Two objects share a method table. In each round one is made while the other is released, each time at
// another moment.
TEST(MethodTable, LeadsToTheMenuWhileAnObjectLives) {
  constexpr int rounds = 20'000, moments = 256, looks = 200;
  std::array<void*, context_menu_methods> methods{};
  void* table = methods.data();
  auto* const object = reinterpret_cast<IContextMenu*>(&table);
  auto& entry = reinterpret_cast<void* volatile&>(methods[context_menu_entry - 1]);
  std::atomic<int> arrived = 0;
  const auto wait_ForBoth = [&arrived](int times) {
    for (++arrived; arrived < 2 * times;)
      YieldProcessor();
  };
  long wrong = 0;
  const auto make_AndRelease = [&](bool is_late) {
    for (int round = 0; round < rounds; ++round) {
      wait_ForBoth(2 * round + 1);
      entry = nullptr;
      wait_ForBoth(2 * round + 2);
      for (int moment = 0; is_late && moment < round % moments; ++moment)
        YieldProcessor();
      redirect_QueryContextMenu(object);
      for (int look = 0; is_late && look < looks; ++look)
        wrong += entry != reinterpret_cast<void*>(&QueryContextMenu);
      restore_QueryContextMenu(object);
    }
  };
  const Thread late([&] { make_AndRelease(true); });
  make_AndRelease(false);
  late.join();
  EXPECT_EQ(wrong, 0);
}

// The DLL stays loaded while a window keeps something of it. It is unloaded with the last window and loaded
// again while others open.
TEST_F(Windows, LoadAndUnloadTheDll) {
  install_Suite();
  {
    Window idle;
    idle.run([this] { right_Click(m_selections[0]); });
    EXPECT_EQ(m_library.run("DllCanUnloadNow"), S_FALSE);
  }
  EXPECT_EQ(m_library.run("DllCanUnloadNow"), S_OK);
  ASSERT_EQ(m_library.run("DllRegisterServer"), S_OK);
  FreeLibrary(LoadLibraryW(built_File(L"NorvakContextMenu.dll").c_str()));
  std::atomic<long> refused = 0;
  {
    std::vector<Window> all(4);
    for (auto& window : all)
      window.start([&] {
        for (int round = 0; round < 60; ++round) {
          CoInitialize(nullptr);
          ComPtr<IContextMenu> object;
          refused +=
              FAILED(CoCreateInstance(clsid_ShellExt, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)));
          if (object) {
            select(object, m_selections[4]);
            refused += offered(object).empty();
          }
          object.Reset();
          CoFreeUnusedLibrariesEx(0, 0);
          refused += m_library.run("DllCanUnloadNow") > S_FALSE;
          CoUninitialize();
        }
      });
  }
  EXPECT_EQ(refused, 0);
  EXPECT_EQ(m_library.run("DllCanUnloadNow"), S_OK);
  m_library.run("DllUnregisterServer");
}

// A component may release the object that is calling it, or right-click again during the call.
TEST_F(Windows, OutliveWhatAComponentDoesToThem) {
  install_Suite();
  ComPtr<IContextMenu> object;
  std::function<void()> meanwhile;
  const Component translator(L"NorvakTranslator.Language",
                             {{L"translateit", [&](const Arguments& text) {
                                 if (const auto now = std::exchange(meanwhile, nullptr))
                                   now();
                                 return text.at(0);
                               }}});
  Lines inner;
  const std::function<void()> deeds[] = {[&] { object.Reset(); },
                                         [&] { inner = right_Click(m_selections[5]); },
                                         [&] {
                                           object.Reset();
                                           inner = right_Click(m_selections[5]);
                                         }};
  auto selection = m_selections.begin();  // another one each time, since captions are kept
  for (const auto& deed : deeds) {
    object = m_library.create();
    select(object, *selection++);
    meanwhile = deed;
    const Menu menu;
    object.Get()->QueryContextMenu(menu.Handle, 0, 0, 99, CMF_NORMAL);
    EXPECT_FALSE(meanwhile);
    EXPECT_FALSE(menu.lines().empty());
    object.Reset();
  }
  EXPECT_EQ(calls_ByStrangers(), 0);
}

TEST_F(Windows, ReleaseComponentsBeforeTheirApartmentEnds) {
  Lines last;
  Thread([&] {
    CoInitialize(nullptr);
    const Components components;
    const auto object = m_library.create();
    select(object, m_selections[0]);
    EXPECT_FALSE(offered(object).empty());
    EXPECT_NE(living_Objects(), 0);
    components.Logger->AtEnd = [&] { last = right_Click(m_selections[1]); };
    CoUninitialize();
    EXPECT_EQ(living_Objects(), 0);
  }).join();
  EXPECT_FALSE(last.empty()) << "a component may right-click during its last release";
  EXPECT_EQ(calls_ByStrangers(), 0);
}

}  // namespace
