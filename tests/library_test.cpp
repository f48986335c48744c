// What the DLL carries beside its code.
#include "shellext/shell_ext.h"
#include "support/handles.h"
#include "tests/explorer.h"

namespace {

class LibraryFile : public Explorer {};

TEST_F(LibraryFile, AndTheHostCarryTheVersionOfTheProject) {
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
  }
}

TEST_F(LibraryFile, CarriesItsTypeLibrary) {
  ComPtr<ITypeLib> library;
  ASSERT_EQ(LoadTypeLibEx(built_File(L"NorvakContextMenu.dll").c_str(), REGKIND_NONE, &library), S_OK);
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->guid, libid_ShellExt);
  library->ReleaseTLibAttr(attributes);
  _bstr_t name;
  _bstr_t text;
  ASSERT_EQ(library->GetDocumentation(-1, name.GetAddress(), text.GetAddress(), nullptr, nullptr), S_OK);
  EXPECT_STREQ(name, L"NorvakContextMenu");
  EXPECT_STREQ(text, L"Norvak - IContextMenu Shell Extension...");
}

TEST_F(LibraryFile, CarriesTheCheckMarkPicture) {
  const unique_hbitmap bitmap(static_cast<HBITMAP>(
      LoadImageW(m_library.handle(), MAKEINTRESOURCEW(101), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION)));
  DIBSECTION section{};
  GetObjectW(bitmap.get(), sizeof section, &section);
  EXPECT_EQ(section.dsBm.bmWidth, 64);
  EXPECT_EQ(section.dsBm.bmHeight, 64);
  EXPECT_EQ(section.dsBmih.biBitCount, 4);
}

}  // namespace
