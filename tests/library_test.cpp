// The DLL as a file: what it exports, what it needs, what it carries.
#include <set>

#include "shellext/shell_ext.h"
#include "support/handles.h"
#include "support/text.h"
#include "tests/explorer.h"

namespace {

class LibraryFile : public Explorer {
 protected:
  template <typename Part>
  const Part* part(DWORD address) const {
    return reinterpret_cast<const Part*>(reinterpret_cast<const char*>(m_library.handle()) + address);
  }
  const IMAGE_NT_HEADERS& headers() const {
    return *part<IMAGE_NT_HEADERS>(static_cast<DWORD>(part<IMAGE_DOS_HEADER>(0)->e_lfanew));
  }
  template <typename Directory>
  const Directory* directory(int index) const {
    return part<Directory>(headers().OptionalHeader.DataDirectory[index].VirtualAddress);
  }
};

TEST_F(LibraryFile, IsA32BitServerWithItsFourEntriesAndTheModernProtections) {
  constexpr DWORD protections = IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
  EXPECT_EQ(headers().FileHeader.Machine, IMAGE_FILE_MACHINE_I386);
  EXPECT_EQ(headers().OptionalHeader.DllCharacteristics & protections, protections);
  const auto& exports = *directory<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
  std::string names;
  for (DWORD index = 0; index < exports.NumberOfNames; ++index)
    names.append(part<char>(part<DWORD>(exports.AddressOfNames)[index])).append(" ");
  EXPECT_EQ(names, "DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer ");
  EXPECT_EQ(exports.NumberOfFunctions, 4u);
}

TEST_F(LibraryFile, NeedsNoLibraryThatIsNotPartOfWindows) {
  const std::set<std::wstring> windows{L"advapi32.dll", L"gdi32.dll",   L"kernel32.dll",
                                       L"msvcrt.dll",   L"ole32.dll",   L"oleaut32.dll",
                                       L"shell32.dll",  L"shlwapi.dll", L"user32.dll"};
  const auto* entry = directory<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
  for (; entry->Name != 0; ++entry)
    EXPECT_TRUE(windows.contains(to_Lower(from_Ansi(part<char>(entry->Name))))) << part<char>(entry->Name);
}

TEST_F(LibraryFile, CarriesTheVersionOfTheProject) {
  const auto path = built_File(L"NorvakContextMenu.dll");
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
