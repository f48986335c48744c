// Whole right-clicks over and over: nothing of the process may grow. Each counter has to catch a leak that is
// planted for it, so that none of them passes because it counts nothing.
#include <cstdlib>

#include "tests/explorer.h"

namespace {

// The platform's counters answer 0 here, so every possible handle is tried.
template <typename Handle, auto exists>
long existing() {
  long count = 0;
  for (ULONG_PTR handle = 1; handle <= 0xFFFF; ++handle)
    count += exists(reinterpret_cast<Handle>(handle)) != 0;
  return count;
}
constexpr auto* gdi_Objects = existing<HGDIOBJ, &GetObjectType>;
constexpr auto* menus = existing<HMENU, &IsMenu>;

long heap_Blocks() {
  HANDLE heaps[64];
  long count = 0;
  for (DWORD index = GetProcessHeaps(64, heaps); index-- > 0;) {
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heaps[index], &entry))
      count += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
  }
  return count;
}

constexpr int rounds = 40;

long growth(long (*count)(), const std::function<void()>& step) {
  long before = 0;
  for (int round = -rounds; round < rounds; ++round) {
    if (round == 0)
      before = count();
    step();
  }
  return count() - before;
}

void right_Click(const Library& library, const std::wstring& path) {
  const auto object = library.create();
  Selection selection([&path](STGMEDIUM& medium) {
    medium.tymed = TYMED_HGLOBAL;
    medium.hGlobal = make_Block(drop_List({path}));
    return S_OK;
  });
  select(object, &selection);
  offered(object);
  char text[128];
  object->GetCommandString(1, GCS_HELPTEXTA, nullptr, text, 100);
}

class Leaks : public Machine {};

TEST_F(Leaks, NothingGrowsFromRightClickToRightClick) {
  install_Suite();
  const Library library;
  const struct {
    const char* Name;
    long (*Count)();
    void (*Leak)();
  } counters[] = {
      {"kernel handles", kernel_Handles, [] { CreateEventW(nullptr, FALSE, FALSE, nullptr); }},
      {"GDI objects", gdi_Objects, [] { CreateBitmap(8, 8, 1, 1, nullptr); }},
      {"menus", menus, [] { CreatePopupMenu(); }},
      {"system's heap", heap_Blocks, [] { HeapAlloc(GetProcessHeap(), 0, 32); }},
      {"C heap", heap_Blocks, [] { [[maybe_unused]] void* const volatile lost = std::malloc(32); }}};
  for (const auto& [name, count, leak] : counters) {
    const auto click = [&] {
      right_Click(library, test_folder + L"a.pdf");
      right_Click(library, test_folder);
    };
    const auto leaking_Click = [&click, planted = leak] {
      click();
      planted();
    };
    EXPECT_LT(growth(count, click), rounds / 2) << name;
    EXPECT_GE(growth(count, leaking_Click), rounds) << name;
  }
}

TEST_F(Leaks, NoBitmapStaysBehindAnUnloadedLibrary) {
  install_Suite();
  const auto click_AndUnload = [&] {
    const Library library;
    right_Click(library, test_folder + L"a.pdf");
    EXPECT_EQ(library.run("DllCanUnloadNow"), S_OK);
  };
  EXPECT_LT(growth(gdi_Objects, click_AndUnload), rounds / 2);
}

}  // namespace
