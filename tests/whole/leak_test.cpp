// Repeats whole right-clicks, in one window or each in a new window: nothing that the process holds may grow,
// not even by one. With NORVAK_ENDURANCE set (scripts/endure) there are 2,000 right-clicks and 1,000 windows,
// otherwise fewer. Each count has to find a leak that is planted for it, so that none passes because it
// counts nothing.
#include <cstdlib>
#include <vector>

#include "components/object_creation.h"
#include "tests/components.h"
#include "tests/explorer.h"
#include "tests/first_menu.h"
#include "tests/holdings.h"
#include "tests/window.h"

namespace {

class Leaks : public Machine {
 protected:
  void SetUp() override {
    Machine::SetUp();
    install_Suite();
    answer_Boxes(m_library.handle());
  }
  enum class In { OneWindow, NewWindows };
  void right_Click(const Lines& paths, In windows = In::OneWindow) const;
  Holdings growth(
      In windows, int clicks, const Lines& paths, const std::function<void()>& leak = [] {}) const;
  Holdings lasting_Growth(In windows, int clicks, const Lines& paths) const;

  const Library m_library;
  const ValueStore m_store;
  const Component m_translator{L"NorvakTranslator.Language", {{L"translateit", answers(L"")}}};
  const Component m_pkcs7{L"norvakcsp.PKCS7", {{L"create_P7x", answers(true)}}};
};

// Picks an item that starts nothing and an offset that is no item; for one file also an item whose program is
// missing, which takes long.
void Leaks::right_Click(const Lines& paths, In windows) const {
  if (windows == In::NewWindows)
    return Window().run([&] {
      const Components components;
      right_Click(paths);
    });
  const auto object = m_library.create();
  DataObject selection(paths);
  select(object, &selection);
  offered(object, 0);
  char text[128];
  object->GetCommandString(0, GCS_HELPTEXTA, nullptr, text, 100);
  for (const ULONG_PTR offset : {3, 50, paths.size() == 1 ? 1 : 50})
    invoke(object, offset);
  const auto menu = first_Menu(m_library, paths);
  if (menu.Items.size() > 3)
    menu.Items[3].Command->Invoke(host::make_Items(paths).Get(), nullptr);
}

Holdings Leaks::growth(In windows, int clicks, const Lines& paths, const std::function<void()>& leak) const {
  constexpr int until_warm = 5;
  auto before = count_Holdings();  // the heaps' blocks from here on
  for (int click = -until_warm; click < clicks; ++click) {
    if (click == 0) {
      forget_Calls();
      before = count_Holdings();
    }
    right_Click(paths, windows);
    leak();
  }
  forget_Calls();
  return count_Holdings() - before;
}

// Counts a second time where something has grown: the runtime of this program makes some things once, such as
// the event of a lock that two threads want at the same time.
Holdings Leaks::lasting_Growth(In windows, int clicks, const Lines& paths) const {
  const auto grown = growth(windows, clicks, paths);
  return grown == Holdings() ? grown : growth(windows, clicks, paths);
}

TEST_F(Leaks, AreNotMadeByRightClicks) {
  const bool endures = std::getenv("NORVAK_ENDURANCE") != nullptr;
  for (const int files : {1, 100}) {
    Lines paths;
    for (int number = 0; number < files; ++number)
      paths.push_back(make_File(test_folder + std::to_wstring(number) + L".pdf"));
    right_Click(paths);
    DeleteFileW((test_folder + LR"(the suite\quill!.exe)").c_str());
    EXPECT_EQ(lasting_Growth(In::OneWindow, endures ? 2000 : 100 / files + 20, paths), Holdings()) << files;
  }
}

TEST_F(Leaks, AreNotMadeByWindows) {
  forget_Calls(false);
  const Lines paths{make_File(test_folder + L"a.pdf")};
  right_Click(paths, In::NewWindows);
  DeleteFileW((test_folder + LR"(the suite\quill!.exe)").c_str());
  const int windows = std::getenv("NORVAK_ENDURANCE") != nullptr ? 1000 : 20;
  EXPECT_EQ(lasting_Growth(In::NewWindows, windows, paths), Holdings());
  EXPECT_EQ(calls_ByStrangers(), 0);
}

TEST_F(Leaks, AreFoundOneByOne) {
  const Lines paths{make_File(test_folder + L"a.txt")};
  constexpr int clicks = 5;
  void (*const leaks[])() = {[] { CreateEventW(nullptr, FALSE, FALSE, nullptr); },
                             [] { CreateBitmap(8, 8, 1, 1, nullptr); },
                             [] { CreatePopupMenu(); },
                             [] { HeapAlloc(GetProcessHeap(), 0, 1); },
                             [] { [[maybe_unused]] void* const volatile lost = std::malloc(1); },
                             [] { create_Object(L"NorvakTranslator.Language").Detach(); }};
  const Holdings::Kind kinds[] = {Holdings::KernelHandles, Holdings::GdiObjects, Holdings::Menus,
                                  Holdings::HeapBlocks,    Holdings::HeapBytes,  Holdings::Components};
  for (const auto windows : {In::OneWindow, In::NewWindows})
    for (std::size_t index = 0; index < std::size(leaks); ++index)
      EXPECT_EQ(growth(windows, clicks, paths, leaks[index]).Counts[kinds[index]], clicks) << kinds[index];
}

}  // namespace
