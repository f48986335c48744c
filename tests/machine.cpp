#include "tests/machine.h"

#include <aclapi.h>
#include <process.h>
#include <sddl.h>

#include <array>
#include <bit>
#include <deque>
#include <filesystem>
#include <fstream>

#include "base/apartment.h"
#include "base/handles.h"
#include "base/text.h"
#include "components/remote_component.h"
#include "settings/registry_view.h"
#include "suite/component_list.h"
#include "suite/diagnostic_log.h"
#include "suite/suite_folders.h"
#include "tests/accounts.h"

namespace {

struct Place {
  HKEY Root;
  std::string Key, Name;
};

Place find_Place(const std::wstring& text) {
  const std::wstring path(in_SuiteView(text));
  const auto key_end = path.rfind(L'\\');
  const HKEY other = path.starts_with(L"HKCU") ? HKEY_CURRENT_USER : HKEY_CLASSES_ROOT;
  const HKEY root = path.starts_with(L"HKLM") ? HKEY_LOCAL_MACHINE : other;
  return {root, to_Ansi(path.substr(5, key_end - 5)), to_Ansi(path.substr(key_end + 1))};
}

// In the order of the flags.
const Lines flag_names =
    split(L"Folders Drive Container Mounted Pdf Xml Image Signable Convertible Pkcs7 Envelope Link", L' ');
using FlagValues = std::array<bool, 12>;

Lines boxes;

// Called by the box's own message loop.
void CALLBACK answer_Box(HWND, UINT, UINT_PTR, DWORD) {
  constexpr int text_line = 0xFFFF;
  const HWND box = FindWindowW(L"#32770", nullptr);
  if (box == nullptr)
    return;
  std::array<wchar_t, 256> title{}, text{};
  GetWindowTextW(box, title.data(), 256);
  GetDlgItemTextW(box, text_line, text.data(), 256);
  boxes.push_back(std::wstring(title.data()) + L": " + text.data());
  SendMessageW(box, WM_COMMAND, IDOK, 0);
}

}  // namespace

// The platform keeps some of the texts that were given back, for the next ones; then nobody can tell what is
// held (tests/holdings.h). The headers lack it.
extern "C" void SetOaNoCache();

Machine::Machine() {
  SetOaNoCache();
  RevertToSelf();
  pretend_Account(false);
  CoInitialize(nullptr);
  use_DiagnosticLog();
  auto keys = split(
      LR"(HKLM\Software\Norvak|HKLM\Software\WOW6432Node\Norvak|HKCU\Software\Norvak|HKCR\.p7m|HKCR\.p7s)",
      L'|');
  for (const auto* component : all_components)
    keys.push_back(std::wstring(LR"(HKCR\)") + component->ProgId);
  for (const auto& key : keys)
    RegDeleteTreeW(find_Place(key).Root, key.substr(5).c_str());
  set_Value(LR"(HKCR\WScript.Shell\CLSID\)", L"{72C24DD5-D70A-438B-8A42-98424B88AFB8}");
  for (const auto* file : {L"NorvakWorkerProcess.exe", L"NorvakTranslator.dll", L"NorvakInter.dll",
                           L"NorvakCertInstaller.dll", L"logmod.dll"})
    std::filesystem::remove(get_CommonProgramFolder() + file);
  for (const auto& path :
       split(test_folder + LR"(|c:\programme|c:\program files\bergstede|c:\srcbox|c:\norvak.log)", L'|'))
    std::filesystem::remove_all(path);
  std::filesystem::create_directories(test_folder);
}

Machine::~Machine() {
  end_Work();
}

void Machine::end_Work() {
  leave_Apartment();
  EXPECT_TRUE(becomes_True(end_RemoteWork)) << "work in the background does not end";
}

bool becomes_True(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 1000; ++tries, Sleep(20))
    if (condition())
      return true;
  return false;
}

void become_PlainUser() {
  PSECURITY_DESCRIPTOR read_only = nullptr;
  ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;CI;KA;;;BA)(A;CI;KR;;;BU)", SDDL_REVISION_1,
                                                       &read_only, nullptr);
  for (const auto& path : {norvak, norvak + LR"(pdf\)"}) {
    HKEY key = nullptr;
    RegCreateKeyA(HKEY_LOCAL_MACHINE, find_Place(path).Key.c_str(), &key);
    RegSetKeySecurity(unique_hkey(key).get(), DACL_SECURITY_INFORMATION, read_only);
  }
  LocalFree(read_only);
  BYTE administrators[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof administrators;
  CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size);
  SID_AND_ATTRIBUTES disabled{administrators, 0};
  HANDLE full = nullptr, restricted = nullptr;
  OpenProcessToken(GetCurrentProcess(), TOKEN_ALL_ACCESS, &full);
  CreateRestrictedToken(full, 0, 1, &disabled, 0, nullptr, 0, nullptr, &restricted);
  const unique_kernel_handle process_token(full), token(restricted);
  EXPECT_TRUE(ImpersonateLoggedOnUser(restricted));
  set_Value(norvak + L"written by a plain user", L"");
  EXPECT_EQ(value_At(norvak + L"written by a plain user"), L"(none)");
}

void set_Bytes(const std::wstring& path, DWORD type, std::string_view bytes) {
  const auto place = find_Place(path);
  RegSetKeyValueA(place.Root, place.Key.c_str(), place.Name.c_str(), type, bytes.data(),
                  static_cast<DWORD>(bytes.size()));
}

void set_Value(const std::wstring& path, const std::wstring& text) {
  set_Bytes(path, REG_SZ, to_Ansi(text) + '\0');
}

std::wstring value_At(const std::wstring& path) {
  const auto place = find_Place(path);
  DWORD type = REG_NONE;
  std::array<char, 1024> bytes{};
  DWORD size = sizeof bytes;
  if (RegGetValueA(place.Root, place.Key.c_str(), place.Name.c_str(), RRF_RT_ANY, &type, bytes.data(),
                   &size) != ERROR_SUCCESS)
    return L"(none)";
  return type == REG_DWORD && size == sizeof(DWORD)
             ? L"dword:" + std::to_wstring(*reinterpret_cast<const DWORD*>(bytes.data()))
             : from_Ansi(bytes.data());
}

std::wstring make_File(const std::wstring& path, const std::wstring& content) {
  const std::filesystem::path file(path);
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::app) << to_Ansi(content);
  return path;
}

void open_ToAll(const std::wstring& path) {
  EXPECT_EQ(SetNamedSecurityInfoW(std::wstring(path).data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                  nullptr, nullptr, nullptr, nullptr),
            DWORD{ERROR_SUCCESS});
}

std::wstring make_Picture(const std::wstring& path) {
  const BITMAPINFOHEADER sizes{sizeof sizes, 1, 1, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
  const BITMAPFILEHEADER header{0x4D42, sizeof header + sizeof sizes + 4, 0, 0, sizeof header + sizeof sizes};
  std::ofstream(std::filesystem::path(path), std::ios::binary)
      .write(reinterpret_cast<const char*>(&header), sizeof header)
      .write(reinterpret_cast<const char*>(&sizes), sizeof sizes)
      .write("red", 4);
  return path;
}

// The platform emulation reads its drives from symbolic links in a folder of the machine that hosts it. The
// link is not made with the product's own way of starting a program, as a case may record that.
void make_DriveE() {
  std::filesystem::create_directories(test_folder + L"drive");
  std::filesystem::current_path(LR"(c:\)");
  _wspawnl(_P_NOWAIT, LR"(Z:\bin\ln)", L"ln", L"-sfn", LR"("../drive_c/norvaks machine/drive")",
           L"../dosdevices/e:", nullptr);
  while (!std::filesystem::exists(LR"(E:\)"))
    Sleep(10);
}

Lines read_Lines(const std::wstring& path) {
  Lines lines;
  std::ifstream file{std::filesystem::path(path)};
  for (std::string line; std::getline(file, line);)
    lines.push_back(std::filesystem::path(std::u8string(line.begin(), line.end())).wstring());
  return lines;
}

std::string read_Bytes(const std::wstring& path) {
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Imports imports_Of(HMODULE module) {
  Imports imports;
  auto* base = reinterpret_cast<std::byte*>(module);
  const auto* header =
      reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const auto table = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  if (table == 0)
    return imports;
  for (auto* dll = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + table); dll->Name != 0; ++dll) {
    auto* name = reinterpret_cast<IMAGE_THUNK_DATA*>(base + dll->OriginalFirstThunk);
    auto* entry = reinterpret_cast<IMAGE_THUNK_DATA*>(base + dll->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++entry)
      imports.emplace(IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)
                          ? "(by a number)"
                          : reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData)->Name,
                      entry);
  }
  return imports;
}

void set_Import(IMAGE_THUNK_DATA& import, void* replacement) {
  auto& address = import.u1.Function;
  DWORD protection = 0;
  VirtualProtect(&address, sizeof address, PAGE_READWRITE, &protection);
  address = reinterpret_cast<ULONG_PTR>(replacement);
}

bool patch_Import(std::string_view function, void* replacement, HMODULE module) {
  const auto imports = imports_Of(module);
  const auto [first, last] = imports.equal_range(function);
  for (auto import = first; import != last; ++import)
    set_Import(*import->second, replacement);
  return first != last;
}

void* kernel_Function(const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name));
}

void use_Clock() {
  const auto tell_Time = +[]() -> ULONGLONG { return clock_Time += clock_Step; };
  patch_Import("GetTickCount64", reinterpret_cast<void*>(tell_Time));
}

int WINAPI confirm_Box(HWND, const wchar_t*, const wchar_t*, UINT) {
  return IDOK;
}

void answer_Boxes(HMODULE module) {
  patch_Import("MessageBoxW", reinterpret_cast<void*>(confirm_Box), module);
}

std::wstring names_Of(const SelectionFlags& flags) {
  const auto values = std::bit_cast<FlagValues>(flags);
  std::wstring names;
  for (std::size_t index = 0; index < values.size(); ++index)
    if (values[index])
      names += (names.empty() ? L"" : L" ") + flag_names[index];
  return names;
}

SelectionFlags flags_Of(const std::wstring& names) {
  FlagValues values{};
  for (std::size_t index = 0; index < values.size(); ++index)
    values[index] = contains(L" " + names + L" ", L" " + flag_names[index] + L" ");
  return std::bit_cast<SelectionFlags>(values);
}

void select_Flags(const std::wstring& names) {
  auto selection = std::make_shared<Selection>();
  selection->Flags = flags_Of(names);
  keep_Selection(std::move(selection));
}

std::vector<FileEntry> entries(const Lines& paths) {
  static std::deque<std::wstring> kept;  // the entries name parts of it
  std::vector<FileEntry> files;
  for (const auto& path : paths)
    files.push_back({kept.emplace_back(path), {}});
  return files;
}

Lines boxes_During(const std::function<void()>& routine) {
  boxes.clear();
  const auto timer = SetTimer(nullptr, 0, 10, answer_Box);
  routine();
  KillTimer(nullptr, timer);
  return boxes;
}
