// What the built files hold beside their code, and what loading them costs for good.
#include "tests/explorer.h"
#include "tests/holdings.h"

namespace {

class BuiltFiles : public Machine {};

TEST_F(BuiltFiles, HaveTheVersionOfTheProject) {
  for (const auto* file : {L"NorvakContextMenu.dll", L"menuhost.exe"}) {
    const auto path = built_File(file);
    std::string version(GetFileVersionInfoSizeW(path.c_str(), nullptr), '\0');
    GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(version.size()), version.data());
    for (const std::string name : {"FileVersion", "ProductVersion"}) {
      void* text = nullptr;
      UINT size = 0;
      ASSERT_TRUE(
          VerQueryValueA(version.data(), (R"(\StringFileInfo\040904B0\)" + name).c_str(), &text, &size));
      EXPECT_STREQ(static_cast<const char*>(text), PROJECT_VERSION);
    }
    // A development build has a fourth number, and says that it is one.
    void* numbers = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueW(version.data(), LR"(\)", &numbers, &size));
    const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(numbers);
    const auto fourth = LOWORD(fixed.dwFileVersionLS);
    auto found = std::to_string(HIWORD(fixed.dwFileVersionMS)) + "." +
                 std::to_string(LOWORD(fixed.dwFileVersionMS)) + "." +
                 std::to_string(HIWORD(fixed.dwFileVersionLS));
    if (fourth != 0)
      found += "." + std::to_string(fourth);
    EXPECT_EQ(found, PROJECT_VERSION);
    EXPECT_EQ((fixed.dwFileFlags & VS_FF_PRERELEASE) != 0, fourth != 0);
  }
}

TEST_F(BuiltFiles, IncludeTheTypeLibraryInTheDll) {
  ComPtr<ITypeLib> library;
  ASSERT_EQ(LoadTypeLibEx(built_File(L"NorvakContextMenu.dll").c_str(), REGKIND_NONE, &library), S_OK);
  _bstr_t name;
  ASSERT_EQ(library->GetDocumentation(-1, name.GetAddress(), nullptr, nullptr, nullptr), S_OK);
  EXPECT_STREQ(name, L"NorvakContextMenu");
}

TEST_F(BuiltFiles, LoseNoMemoryWhenTheyAreLoaded) {
  const auto load = [] { FreeLibrary(LoadLibraryW(built_File(L"NorvakContextMenu.dll").c_str())); };
  std::array<long, 2> bytes{};
  for (auto& count : bytes) {
    for (int times = 0; times < 10; ++times)
      load();
    count = count_Holdings().Counts[Holdings::HeapBytes];
  }
  EXPECT_EQ(bytes[1], bytes[0]);
}

}  // namespace
