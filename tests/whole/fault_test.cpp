// Whole right-clicks during which one call of the platform or of a component fails: nothing may crash, stay
// behind or spoil the next right-click. In some of them there is no memory from that call on. With
// NORVAK_ENDURANCE set (scripts/endure) every call fails once, otherwise a share of them that NORVAK_SEED
// chooses.
#include <windows.h>

#include <sddl.h>
#include <shlwapi.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <optional>
#include <set>

#include "base/module.h"
#include "base/text.h"
#include "shellext/class_identifiers.h"
#include "tests/components.h"
#include "tests/explorer.h"
#include "tests/first_menu.h"
#include "tests/holdings.h"

namespace {

// How often each function was called, and how often it then failed.
template <auto function>
std::atomic<long> calls_Of;
template <auto function>
std::atomic<long> refusals_Of;

template <auto function, auto stand_in, LONG_PTR failure, bool is_memory, typename... Arguments>
auto answer(Arguments... arguments) {
  ++calls_Of<function>;
  if (!is_ToFail(is_memory))
    return stand_in(arguments...);
  ++refusals_Of<function>;
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  using Result = decltype(stand_in(arguments...));
  if constexpr (std::is_pointer_v<Result>)
    return reinterpret_cast<Result>(failure);
  else
    return static_cast<Result>(failure);
}

// Takes the place of a function. It fails when it has to, and otherwise answers as the stand-in does.
template <auto function, auto stand_in, LONG_PTR failure, bool is_memory>
struct Failing;
template <typename Result, typename... Arguments, Result(WINAPI* function)(Arguments...), auto stand_in,
          LONG_PTR failure, bool is_memory>
struct Failing<function, stand_in, failure, is_memory> {
  static Result WINAPI call(Arguments... arguments) {
    return answer<function, stand_in, failure, is_memory, Arguments...>(arguments...);
  }
};

// No other process serves a class, and the system's own process that would look for one is not started.
HRESULT WINAPI get_Class(REFCLSID clsid, DWORD context, void* server, REFIID iid, void** factory) {
  return context == CLSCTX_INPROC_SERVER ? CoGetClassObject(clsid, context, server, iid, factory)
                                         : CO_E_SERVER_EXEC_FAILURE;
}

HRESULT WINAPI make_Object(REFCLSID, IUnknown*, DWORD, REFIID, void**) {
  return CO_E_SERVER_EXEC_FAILURE;
}

struct Fault {
  std::string_view Name;
  void* Replacement;
  std::atomic<long>* Calls;
};
template <auto function>
Fault fault_Of(void* replacement) {
  std::string_view name = __PRETTY_FUNCTION__;
  name.remove_prefix(name.find_first_not_of('&', name.find("function = ") + 11));
  return {name.substr(0, name.find_first_of(";]")), replacement, &calls_Of<function>};
}

template <auto function, LONG_PTR failure = 0, bool is_memory = false, auto stand_in = function>
Fault fault() {
  return fault_Of<function>(reinterpret_cast<void*>(&Failing<function, stand_in, failure, is_memory>::call));
}

// The functions of the compiler's runtime have another calling convention.
template <auto function, typename... Arguments>
Fault memory_Fault() {
  return fault_Of<function>(reinterpret_cast<void*>(&answer<function, function, 0, true, Arguments...>));
}

template <LONG_PTR failure, bool is_memory, auto... functions>
std::vector<Fault> failing() {
  return {fault<functions, failure, is_memory>()...};
}

constexpr LONG_PTR no_file = -1;

// The other imports are in imports_without_fault.txt.
const std::vector<Fault> groups[] = {
    {memory_Fault<std::malloc, std::size_t>()},
#ifdef __GLIBCXX__  // the other library calls neither
    {memory_Fault<std::calloc, std::size_t, std::size_t>(), memory_Fault<std::realloc, void*, std::size_t>()},
#endif
    failing<0, true, HeapAlloc, SysAllocString, SysAllocStringLen>(),
    failing<E_OUTOFMEMORY, true, VariantChangeType, VariantCopy, SHStrDupW>(),
    failing<0, false, GlobalLock, GlobalSize, MultiByteToWideChar>(),
    failing<ERROR_OUTOFMEMORY, false, RegGetValueW, RegNotifyChangeKeyValue, RegOpenKeyExA, RegOpenKeyExW,
            RegQueryValueExA>(),
    failing<no_file, false, GetFileAttributesW, CreateFileW, FindFirstFileW>(),
    failing<0, false, GetUserNameW, WriteFile, DeleteFileW, GetTempPathW, GetFullPathNameW, GetShortPathNameW,
            GetModuleFileNameW, LoadLibraryA, LoadLibraryExW, CreateEventW>(),
    failing<0, false, OpenProcessToken, GetTokenInformation, ConvertSidToStringSidW,
            ConvertStringSecurityDescriptorToSecurityDescriptorW, CreateDirectoryW, RemoveDirectoryW>(),
    failing<E_FAIL, false, SHGetFolderPathW, CoCreateGuid>(),
    failing<CO_E_CLASSSTRING, false, CLSIDFromProgID>(),
    failing<E_OUTOFMEMORY, false, CoRegisterInitializeSpy>(),
    failing<0, false, InsertMenuW, SetMenuItemBitmaps, GetMenuStringW, LoadImageW, GetObjectA, CreateICA,
            GetTextMetricsA, CreateCompatibleDC, GetDIBits, CreateDIBSection, GetModuleHandleExW>(),
    failing<-1, false, GetMenuItemCount>(),
#ifdef _WIN64  // the workers for components in other processes
    failing<0, false, CreateThread>(),
    failing<E_OUTOFMEMORY, false, CoInitializeEx, CoGetPSClsid>(),
#endif
    {fault<CoGetClassObject, E_OUTOFMEMORY, false, get_Class>(),
     fault<CoCreateInstance, E_OUTOFMEMORY, false, make_Object>(),
     fault<CreateProcessW, 0, false, record_Start>(), fault<MessageBoxW, 0, false, confirm_Box>()}};

// One call in `stride` fails; where `lasting_stride` divides its number, it fails a second time and memory
// stays used up. With NORVAK_ENDURANCE a process makes `most_turns` calls fail.
constexpr long stride = 31;
constexpr long lasting_stride = 5;
constexpr long most_turns = 400;

struct Click {
  std::wstring Path;
  std::vector<ULONG_PTR> Commands;  // offsets
  Lines Items;
  long Starts;
  bool MayHide = false;
};

class Faults : public Machine, public testing::WithParamInterface<const char*> {
 protected:
  void arrange(const std::string& kind);
  Lines right_Click(const Library& library, std::ptrdiff_t most_lost = 0) const;
  void pick_InFirstMenu(const Library& library, Lines items, bool is_whole) const;
  bool fail_AndRecover(long number, bool lasts) const;
  Holdings left_By(long number, bool lasts = false);

  Click m_click;
  std::optional<Components> m_components;
  bool m_has_failed = false;
};

void Faults::arrange(const std::string& kind) {
  SetEnvironmentVariableW(L"TMP", test_folder.c_str());
  const auto pdf = make_File(test_folder + L"a letter.pdf");
  if (kind == "BareMachine") {
    // The class of a component that is no longer there.
    set_Value(LR"(HKCR\NorvakCertInstaller.iCache\CLSID\)", L"{0EBE81BA-307A-4EE2-BF4F-597C8AF7C2D6}");
    m_click = {make_File(test_folder + L"b.txt.p7m"), {0, 50}, {}, 0};
    return;
  }
  if (!m_components)
    install_Suite();
  m_components.emplace();
  for (const auto* setting : {L"MultiSignator", L"CardConnector"})
    set_Value(norvak + setting, L"1");
  if (kind == "Pdf")
    m_click = {pdf,
               {0, 3, 50},
               {L"100 &Open with Norvak", L"101 Open &with quill!", L"102 &Create PDF Signature *",
                L"103 Create &PKCS7 Signature", L"104 Create PKCS7 &Envelope"},
               1};
  if (kind == "Envelope")
    m_click = {make_File(test_folder + L"b.txt.p7m"),
               {1},
               {L"100 &Open with quill!", L"101 &Validate PKCS7 Signature"},
               0};
  if (kind == "Drive") {
    make_DriveE();
    make_File(LR"(E:\norvak\norvak.tc)");
    m_click = {LR"(E:\)", {1}, {L"100 &Sign PDFs in Folder", L"101 &Mount Secure Drive"}, 1, true};
  }
}

// The items that came into the menu; none where there was no memory for an object.
Lines Faults::right_Click(const Library& library, std::ptrdiff_t most_lost) const {
  constexpr UINT first_id = 100;
  DeleteFileW(LR"(E:\mounted.txt)");
  DataObject selection(Lines{m_click.Path});
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
  AppendMenuW(menu.Handle, MF_STRING, 1, L"P&roperties");
  const auto count = object->QueryContextMenu(menu.Handle, 0, first_id, 0x7FFF, CMF_NORMAL);
  auto items = menu.lines();
  std::erase(items, L"-");
  std::erase(items, L"1 P&roperties");
  // An item that could not be inserted is counted all the same.
  EXPECT_GE(count, std::ssize(items));
  EXPECT_LE(count, std::ssize(items) + most_lost);
  for (UINT id = first_id; id < first_id + 8; ++id) {
    char text[128];
    EXPECT_EQ(object->GetCommandString(id, GCS_HELPTEXTA, nullptr, text, 100), S_OK);
  }
  for (const auto offset : m_click.Commands)
    invoke(object, offset);
  pick_InFirstMenu(library, items, most_lost == 0);
  return items;
}

// The same in the first menu of Windows 11, which has the same items where no call fails.
void Faults::pick_InFirstMenu(const Library& library, Lines items, bool is_whole) const {
  DeleteFileW(LR"(E:\mounted.txt)");
  const auto menu = first_Menu(library, {m_click.Path});
  auto lines = lines_Of(menu, 100);
  std::erase(lines, L"-");
  for (auto* const titles : {&items, &lines})  // the access keys depend on the items that the shell has
    for (auto& title : *titles)
      std::erase(title, L'&');
  EXPECT_TRUE(!is_whole || lines == items) << testing::PrintToString(lines);
  for (const auto offset : m_click.Commands)
    if (offset < menu.Items.size())
      menu.Items[offset].Command->Invoke(host::make_Items(Lines{m_click.Path}).Get(), nullptr);
}

// Loads the DLL and right-clicks twice: the first right-click has the fault, the second one has to be as any
// other. False when there are fewer calls than the number says.
bool Faults::fail_AndRecover(long number, bool lasts) const {
  SCOPED_TRACE(number);
  const Library library;
  for (const auto& group : groups)
    for (const auto& row : group)
      patch_Import(row.Name, row.Replacement, library.handle());
  for (const auto& group : groups)
    for (const auto& row : group)
      *row.Calls = 0;
  fail_Call(number, lasts);
  right_Click(library, lasts ? std::ssize(m_click.Items) : 1);
  const bool has_failed = fail_Call(0);
  take_Starts();
  const auto items = right_Click(library);
  const auto started = std::ssize(take_Starts());
  if (!m_click.MayHide || items.size() == m_click.Items.size()) {
    EXPECT_EQ(items, m_click.Items);
    EXPECT_EQ(started, 2 * m_click.Starts);
  } else if (!lasts) {  // a feature is asked for once, so it stays hidden where the fault hid it
    EXPECT_EQ(items.size() + 1, m_click.Items.size());
  }
  if (m_click.Items.empty()) {  // an extension that captures nothing would offer none either
    set_Value(norvak + L"CardConnector", L"1");
    EXPECT_EQ(right_Click(library), Lines{L"100 &Validate PKCS7 Signature"});
    set_Value(norvak + L"CardConnector", L"");
  }
  while (library.run("DllCanUnloadNow") != S_OK)  // work in the background ends by itself
    Sleep(1);
  forget_Calls();
  return has_failed;
}

// What a load and its fault leave behind.
Holdings Faults::left_By(long number, bool lasts) {
  const auto before = count_Holdings();
  m_has_failed = fail_AndRecover(number, lasts);
  EXPECT_EQ(GetModuleHandleW(L"NorvakContextMenu.dll"), nullptr);
  return count_Holdings() - before;
}

constexpr const char* kinds[] = {"BareMachine", "Pdf", "Envelope", "Drive"};

TEST_P(Faults, LeaveTheNextRightClickWhole) {
  arrange(GetParam());
  const char *const first = std::getenv("NORVAK_ENDURANCE"), *const seed = std::getenv("NORVAK_SEED");
  const long chosen = seed == nullptr ? 1 : std::atol(seed);
  const long start = first == nullptr ? 1 + (chosen + long{sizeof seed}) % stride : std::atol(first);
  const long end = first == nullptr ? LONG_MAX : start + most_turns;
  for (int round = 0; round < 2; ++round)
    left_By(0);
  // After a crash, the last of these numbers is the call that failed.
  std::cout << "NORVAK_SEED=" << chosen << ", calls that fail, and with a star all memory after them:";
  m_has_failed = true;
  for (long number = start; number < end && m_has_failed; number += first == nullptr ? stride : 1)
    for (int turn = 0; turn < (first != nullptr || number % lasting_stride == 0 ? 2 : 1); ++turn) {
      std::cout << " " << number << (turn == 0 ? "" : "*") << std::flush;
      auto left = left_By(number, turn == 1);
      if (left != Holdings())  // the platform may have made something once, for this failure
        left = left_By(number, turn == 1);
      EXPECT_EQ(left, Holdings()) << number;
    }
  std::cout << std::endl << (m_has_failed ? "" : "the last call had its turn\n");
  EXPECT_TRUE(first != nullptr || refusals_Of<HeapAlloc> > 0) << "no exception needed the reserve of memory";
  EXPECT_EQ(std::ranges::count_if(std::filesystem::directory_iterator(test_folder),
                                  [](const auto& entry) { return entry.path().extension() == L".tmp"; }),
            0);
}

INSTANTIATE_TEST_SUITE_P(, Faults, testing::ValuesIn(kinds),
                         [](const auto& row) { return std::string(row.param); });

class RightClick : public Explorer {};

// The calls of the registry and of the file system are nearly all that a right-click costs.
TEST_F(RightClick, AsksTheMachineNoMoreThanItNeeds) {
  const auto counted =
      failing<0, false, RegOpenKeyExA, RegOpenKeyExW, RegQueryValueExA, RegQueryValueExW, CLSIDFromProgID,
              GetFileAttributesW, GetShortPathNameW, CreateFileW, GetPrivateProfileStringW>();
  for (const auto& row : counted)
    EXPECT_TRUE(patch_Import(row.Name, row.Replacement, m_library.handle())) << row.Name;
  install_Suite();
  const auto pdf = make_File(test_folder + L"a.pdf");
  Lines folders(1000, test_folder + L"a folder.png");  // each is looked at, to find that it is no picture
  std::filesystem::create_directories(folders[0]);
  folders[0] = pdf;
  for (const auto& [paths, limit] : {std::pair(Lines{pdf}, is_SuitesBitness ? 62 : 78),
                                     {Lines{pdf}, 9},
                                     {Lines(1000, pdf), 9},
                                     {folders, 1009}}) {
    for (const auto& row : counted)
      *row.Calls = 0;
    const auto object = m_library.create();
    select(object, paths);
    EXPECT_EQ(offered(object).size(), 6u);
    long calls = 0;
    for (const auto& row : counted)
      calls += *row.Calls;
    EXPECT_LE(calls, limit) << paths.size();
  }
}

#ifdef NDEBUG  // the flavours that are delivered
#ifdef __GLIBCXX__
constexpr std::wstring_view this_library = L"libstdc++:";
#else
constexpr std::wstring_view this_library = L"libc++:";
#endif

class FaultLists : public Faults {};

// One list is the table above, the other imports_without_fault.txt. A function in both is called only after a
// fault.
TEST_F(FaultLists, HaveEveryImport) {
  using Names = std::set<std::string>;
  Names imports, others, called, made_ToFail;
  {
    const Library library;
    for (const auto& [name, address] : imports_Of(library.handle()))
      imports.emplace(name);
  }
  for (const auto& line : read_Lines(L"Z:" SOURCE_FOLDER L"/tests/whole/imports_without_fault.txt"))
    if (line.starts_with(L"all:") || line.starts_with(this_library) ||
        (sizeof(void*) == 8 && line.starts_with(L"64-bit:")))
      for (const auto& name : split(line.substr(line.find(L' ') + 1), L' '))
        others.insert(to_Ansi(name));
  for (const auto* kind : kinds) {
    arrange(kind);
    left_By(0);
    for (const auto& group : groups)
      for (const auto& row : group) {
        made_ToFail.emplace(row.Name);
        if (*row.Calls > 0)
          called.emplace(row.Name);
      }
  }
  Names expected = others, odd;
  expected.insert(made_ToFail.begin(), made_ToFail.end());
  std::ranges::set_symmetric_difference(imports, expected, std::inserter(odd, odd.end()));
  EXPECT_EQ(odd, Names());
  for (const auto& name : made_ToFail)
    EXPECT_NE(called.contains(name), others.contains(name)) << name;
}
#endif

}  // namespace
