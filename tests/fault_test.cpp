// Whole right-clicks in which one call fails, of the platform or of a component, and that for every call on
// the way: nothing may crash, stay behind or spoil the next right-click. With NORVAK_ENDURANCE set every call
// has its turn (scripts/endure), else a share of them.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>

#include "shellext/shell_ext.h"
#include "tests/components.h"
#include "tests/explorer.h"
#include "tests/holdings.h"

namespace {

// Stands in for a function of the platform: gives its failure when it is its turn.
template <auto function, LONG_PTR failure = 0>
struct Failing;
template <typename Result, typename... Arguments, Result(WINAPI* function)(Arguments...), LONG_PTR failure>
struct Failing<function, failure> {
  static Result WINAPI call(Arguments... arguments) {
    if (!is_ToFail())
      return function(arguments...);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    if constexpr (std::is_pointer_v<Result>)
      return reinterpret_cast<Result>(failure);
    else
      return static_cast<Result>(failure);
  }
};

void* allocate(std::size_t size) {
  return is_ToFail() ? nullptr : std::malloc(size);
}

void* allocate_Zeroed(std::size_t count, std::size_t size) {
  return is_ToFail() ? nullptr : std::calloc(count, size);
}

void* reallocate(void* block, std::size_t size) {
  return is_ToFail() ? nullptr : std::realloc(block, size);
}

long starts = 0;

// Hands out two handles as the platform does; starting all the programs would take hours.
BOOL WINAPI pretend_Start(const char*, char*, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*, BOOL, DWORD, void*,
                          const char*, STARTUPINFOA*, PROCESS_INFORMATION* started) {
  if (is_ToFail())
    return FALSE;
  *started = {CreateEventW(nullptr, FALSE, FALSE, nullptr), CreateEventW(nullptr, FALSE, FALSE, nullptr), 1,
              1};
  ++starts;
  return TRUE;
}

int WINAPI answer_Box(HWND, const wchar_t*, const wchar_t*, UINT) {
  return is_ToFail() ? 0 : IDOK;
}

template <auto replacement>
void* address() {
  return reinterpret_cast<void*>(replacement);
}

template <auto function, LONG_PTR failure = 0>
void* failing() {
  return address<&Failing<function, failure>::call>();
}

constexpr LONG_PTR no_file = -1;

// Left out are the imports that cannot fail, or only for wrong arguments as CharLowerBuffW and
// StringFromGUID2; those that release something, whose failure nobody could mend; those of registration, of
// registry administration, of late-bound callers and of the wait for another signing order (the list of
// processes, MsgWaitForMultipleObjects), which no right-click here reaches; WriteProcessMemory, which only
// follows another failure; and those of the compiler's runtime, but for its memory.
const std::pair<const char*, void*> faults[] = {
    {"malloc", address<allocate>()},
    {"calloc", address<allocate_Zeroed>()},
    {"realloc", address<reallocate>()},
    {"SysAllocString", failing<SysAllocString>()},
    {"SysAllocStringLen", failing<SysAllocStringLen>()},
    {"VariantChangeType", failing<VariantChangeType, E_OUTOFMEMORY>()},
    {"VariantCopy", failing<VariantCopy, E_OUTOFMEMORY>()},
    {"GlobalLock", failing<GlobalLock>()},
    {"GlobalSize", failing<GlobalSize>()},
    {"MultiByteToWideChar", failing<MultiByteToWideChar>()},
    {"WideCharToMultiByte", failing<WideCharToMultiByte>()},
    {"RegOpenKeyExA", failing<RegOpenKeyExA, ERROR_OUTOFMEMORY>()},
    {"RegOpenKeyExW", failing<RegOpenKeyExW, ERROR_OUTOFMEMORY>()},
    {"RegCreateKeyExW", failing<RegCreateKeyExW, ERROR_OUTOFMEMORY>()},
    {"RegQueryValueExA", failing<RegQueryValueExA, ERROR_OUTOFMEMORY>()},
    {"RegQueryValueExW", failing<RegQueryValueExW, ERROR_OUTOFMEMORY>()},
    {"RegSetKeyValueW", failing<RegSetKeyValueW, ERROR_OUTOFMEMORY>()},
    {"GetUserNameW", failing<GetUserNameW>()},
    {"GetFileAttributesW", failing<GetFileAttributesW, no_file>()},
    {"CreateFileW", failing<CreateFileW, no_file>()},
    {"WriteFile", failing<WriteFile>()},
    {"CopyFileW", failing<CopyFileW>()},
    {"DeleteFileW", failing<DeleteFileW>()},
    {"GetTempPathW", failing<GetTempPathW>()},
    {"GetTempFileNameW", failing<GetTempFileNameW>()},
    {"GetShortPathNameA", failing<GetShortPathNameA>()},
    {"GetPrivateProfileStringW", failing<GetPrivateProfileStringW>()},
    {"WritePrivateProfileStringW", failing<WritePrivateProfileStringW>()},
    {"SHGetFolderPathW", failing<SHGetFolderPathW, E_FAIL>()},
    {"GetModuleFileNameW", failing<GetModuleFileNameW>()},
    {"GetModuleHandleExW", failing<GetModuleHandleExW>()},
    {"LoadLibraryA", failing<LoadLibraryA>()},
    {"LoadLibraryExW", failing<LoadLibraryExW>()},
    {"GetProcAddress", failing<GetProcAddress>()},
    {"VirtualProtect", failing<VirtualProtect>()},
    {"CLSIDFromProgID", failing<CLSIDFromProgID, CO_E_CLASSSTRING>()},
    {"CoCreateInstance", failing<CoCreateInstance, E_OUTOFMEMORY>()},
    {"CreateProcessA", address<pretend_Start>()},
    {"MessageBoxW", address<answer_Box>()},
    {"InsertMenuA", failing<InsertMenuA>()},
    {"SetMenuItemBitmaps", failing<SetMenuItemBitmaps>()},
    {"LoadImageW", failing<LoadImageW>()},
    {"GetIconInfo", failing<GetIconInfo>()},
    {"GetObjectA", failing<GetObjectA>()},
    {"CreateICA", failing<CreateICA>()},
    {"GetTextMetricsA", failing<GetTextMetricsA>()},
    {"CreateCompatibleDC", failing<CreateCompatibleDC>()},
    {"CreateBitmapIndirect", failing<CreateBitmapIndirect>()},
    {"SelectObject", failing<SelectObject>()},
    {"SetStretchBltMode", failing<SetStretchBltMode>()},
    {"SetBrushOrgEx", failing<SetBrushOrgEx>()},
    {"StretchBlt", failing<StretchBlt>()}};

// The share of the calls, and how many loads a process does: their runtime uses up its thread-local indexes.
constexpr long stride = 31;
constexpr long most_loads = 500;

struct Click {
  std::wstring Path;
  std::vector<ULONG_PTR> Commands;  // offsets
  Lines Items;
  long Starts;
  bool MayHide = false;
};

// The suite's components; nothing that they are told stays.
struct Components {
  Log Logger;
  ValueStore Store;
  Component Translator{L"NorvakTranslator.Language",
                       {{L"translateit", [](const Arguments& text) { return text.at(0); }}}};
  Component Host{L"WScript.Shell", {{L"RegRead", answers({})}, {L"RegWrite", answers({})}}};
  Component Pkcs7{L"norvakcsp.PKCS7", {{L"create_P7x", answers(true)}, {L"validate_P7x", answers(true)}}};
};

class Faults : public Machine, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override;
  Lines right_Click(const Library& library) const;
  bool fail_AndRecover(long number) const;
  Holdings left_By(long number);

  Click m_click;
  std::optional<Components> m_components;
  bool m_has_failed = false;
};

void Faults::SetUp() {
  Machine::SetUp();
  SetEnvironmentVariableW(L"TMP", test_folder.c_str());
  const std::string kind = GetParam();
  const auto pdf = make_File(test_folder + L"a letter.pdf");
  if (kind == "BareMachine") {
    m_click = {pdf, {0, 50}, {}, 0};
    return;
  }
  install_Suite();
  m_components.emplace();
  for (const auto* setting : {L"MultiSignator", L"CardConnector"})
    set_Value(norvak + setting, L"1");
  if (kind == "Pdf")
    m_click = {pdf,
               {0, 3, 50},
               {L"100 Open with Norvak", L"101 Open with quill!", L"102 Create PDF Signature *",
                L"103 Create PKCS7 Signature", L"104 Create PKCS7 Envelope"},
               1};
  if (kind == "Envelope")
    m_click = {make_File(test_folder + L"b.txt.p7m"),
               {1},
               {L"100 Open with quill!", L"101 Validate PKCS7 Signature"},
               0};
  if (kind == "Drive") {
    make_DriveE();
    make_File(LR"(E:\norvak\norvak.tc)");
    m_click = {LR"(E:\)", {1}, {L"100 Sign PDFs in Folder", L"101 Mount Secure Drive"}, 1, true};
  }
}

// The items that came into the menu; none when there was no memory for an object.
Lines Faults::right_Click(const Library& library) const {
  constexpr UINT first_id = 100;
  DeleteFileW(LR"(E:\mounted.txt)");
  Selection selection(Lines{m_click.Path});
  ComPtr<IClassFactory> factory;
  ComPtr<IContextMenu> object;
  HRESULT made = library.get_Class(clsid_ShellExt, IID_PPV_ARGS(&factory));
  if (factory)
    made = factory->CreateInstance(nullptr, IID_PPV_ARGS(&object));
  EXPECT_EQ(made, object ? S_OK : E_OUTOFMEMORY);
  if (!object)
    return {};
  select(object, &selection);
  const Menu menu;
  const auto count = object->QueryContextMenu(menu.Handle, 0, first_id, 0x7FFF, CMF_NORMAL);
  auto items = menu.lines();
  std::erase(items, L"-");
  // One item at most can have failed on its way into the menu; it counts all the same.
  EXPECT_TRUE(count == std::ssize(items) || count == std::ssize(items) + 1) << count;
  for (UINT id = first_id; id < first_id + 8; ++id) {
    char text[128];
    EXPECT_EQ(object->GetCommandString(id, GCS_HELPTEXTA, nullptr, text, 100), S_OK);
  }
  for (const auto offset : m_click.Commands)
    invoke(object, offset);
  return items;
}

constexpr long without_click = -1;

// One load of the DLL, whose first right-click has the fault and whose second one has to be as any other.
// False when the number was beyond the last call.
bool Faults::fail_AndRecover(long number) const {
  SCOPED_TRACE(number);
  const Library library;
  long patched = 0;
  for (const auto& [name, replacement] : faults)
    patched += patch_Import(name, replacement, library.handle());
  EXPECT_GT(patched, 0);
  // What the compiler's runtime keeps of the first exception of a load, it keeps of each.
  fail_Call(1);
  EXPECT_EQ(library.run("DllRegisterServer"), E_OUTOFMEMORY);
  if (number == without_click)
    return false;
  fail_Call(number);
  right_Click(library);
  const bool has_failed = fail_Call(0);
  starts = 0;
  const auto items = right_Click(library);
  if (!m_click.MayHide || items.size() == m_click.Items.size()) {
    EXPECT_EQ(items, m_click.Items);
    EXPECT_EQ(starts, m_click.Starts);
  } else {  // a feature is asked for once, so it stays hidden where the fault hid it
    EXPECT_EQ(items.size() + 1, m_click.Items.size());
  }
  EXPECT_EQ(library.run("DllCanUnloadNow"), S_OK);
  forget_Calls();
  return has_failed;
}

// What a load and its fault leave behind.
Holdings Faults::left_By(long number) {
  const auto before = count_Holdings();
  m_has_failed = fail_AndRecover(number);
  EXPECT_EQ(GetModuleHandleW(L"NorvakContextMenu.dll"), nullptr);
  return count_Holdings() - before;
}

TEST_P(Faults, OfEachCallLeaveTheNextRightClickWhole) {
  // The runtime keeps a thread-local index of each load; for the later ones the platform needs a table once.
  for (int index = 0; index < TLS_MINIMUM_AVAILABLE; ++index)
    TlsSetValue(TlsAlloc(), this);
  const char* const first = std::getenv("NORVAK_ENDURANCE");
  const long start = first == nullptr ? 1 : std::atol(first);
  const long end = first == nullptr ? LONG_MAX : start + most_loads;
  for (int round = 0; round < 2; ++round)
    left_By(0);
  const auto kept_ByRuntime = left_By(without_click);
  for (long number = start; number < end; number += first == nullptr ? stride : 1) {
    auto left = left_By(number);
    if (left != kept_ByRuntime)  // what the platform makes once on the way of a failure is there now
      left = left_By(number);
    EXPECT_EQ(left, kept_ByRuntime) << number;
    if (!m_has_failed) {
      std::cout << "calls on the way: " << number << std::endl;
      break;
    }
  }
  EXPECT_EQ(std::ranges::count_if(std::filesystem::directory_iterator(test_folder),
                                  [](const auto& entry) { return entry.path().extension() == L".tmp"; }),
            0);
}

INSTANTIATE_TEST_SUITE_P(, Faults, testing::Values("Pdf", "Envelope", "Drive", "BareMachine"),
                         [](const auto& row) { return std::string(row.param); });

}  // namespace
