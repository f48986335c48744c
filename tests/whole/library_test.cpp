// What the built files hold beside their code, and what loading them costs for good.
#include <process.h>

#include <fstream>

#include "base/text.h"
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

// The linker would leave out how such a function is unwound, see cmake/unwind_tables.cmake.
TEST_F(BuiltFiles, CatchWhatPassesAFunctionOfTheLibrary) {
  std::ifstream file;
  file.exceptions(std::ios::failbit);
  EXPECT_THROW(file.open(R"(C:\missing)"), std::ios::failure);
}

void* __cdecl have_NoMemory(std::size_t) {
  return nullptr;
}

// More often than a process has thread-local indexes. Another module of the process has the name of the
// compiler's runtime.
TEST_F(BuiltFiles, LoseNothingWhenTheyAreLoadedAndThrow) {
  const auto runtime = test_folder + L"libgcc_s_dw2-1.dll";
  CopyFileW(built_File(L"decoy.dll").c_str(), runtime.c_str(), FALSE);
  const Library others(runtime);
  const auto load = [] {
    const Library library;
    EXPECT_TRUE(patch_Import("malloc", reinterpret_cast<void*>(have_NoMemory), library.handle()));
    EXPECT_EQ(library.run("DllRegisterServer"), E_OUTOFMEMORY);
  };
  count_Holdings();  // the heaps' blocks from here on
  for (int times = 0; times < 10; ++times)
    load();
  constexpr int loads = TLS_MINIMUM_AVAILABLE + 1024 + 12;
  const auto before = count_Holdings();
  for (int times = 0; times < loads; ++times)
    load();
  EXPECT_EQ(count_Holdings() - before, Holdings());
}

// Where nothing can be trusted any more, a process ends as the system's own do, and shows no box. A DLL that
// goes alone releases what it has; at the end of a process it calls nothing.
TEST_F(BuiltFiles, EndAsTheyShould) {
  const auto program = built_File(L"endings_program.exe");
  const auto end = [&](const wchar_t* way) {
    return static_cast<DWORD>(_wspawnl(_P_WAIT, program.c_str(), L"endings_program", way, nullptr));
  };
  for (const auto* way : {L"overrun", L"abort", L"terminate", L"pure"})
    EXPECT_EQ(end(way), DWORD{STATUS_STACK_BUFFER_OVERRUN}) << to_Ansi(way);
  for (const auto* way : {L"nothing", L"processEnds"})
    EXPECT_EQ(end(way), 0u) << to_Ansi(way);
  EXPECT_EQ(end(L"dllGoes"), 77u);
}

}  // namespace
