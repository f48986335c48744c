#include "tests/explorer.h"

#include <shellapi.h>

#include <filesystem>
#include <utility>

#include "base/module.h"
#include "base/text.h"
#include "shellext/class_identifiers.h"
#include "tests/accounts.h"
#include "tests/components.h"

namespace {

const std::wstring record_file = test_folder + L"record.log";

template <typename Entry>
Entry entry_Of(HMODULE module, const char* name) {
  return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

Lines starts;

}  // namespace

std::wstring built_File(const std::wstring& name) {
  return get_ModuleFolder() + name;
}

Library::Library(const std::wstring& path) : m_module(LoadLibraryW(path.c_str())) {
  EXPECT_NE(m_module, nullptr) << std::filesystem::path(path).string() << " cannot be loaded";
  if (imports_Of(m_module).contains("GetTokenInformation"))
    pretend_Account(false, {}, m_module);
}

HRESULT Library::run(const char* entry) const {
  return entry_Of<HRESULT(STDAPICALLTYPE*)()>(m_module, entry)();
}

HRESULT Library::get_Class(REFCLSID clsid, REFIID iid, void** factory) const {
  return entry_Of<LPFNGETCLASSOBJECT>(m_module, "DllGetClassObject")(clsid, iid, factory);
}

ComPtr<IContextMenu> Library::create() const {
  ComPtr<IClassFactory> factory;
  ComPtr<IContextMenu> object;
  EXPECT_EQ(get_Class(clsid_ShellExt, IID_PPV_ARGS(&factory)), S_OK);
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
  return object;
}

std::string drop_List(const Lines& names, bool is_utf16) {
  const DROPFILES header{sizeof header, {}, FALSE, is_utf16};
  std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
  std::wstring letters;
  for (const auto& name : names)
    letters.append(name).append(1, L'\0');
  letters += L'\0';
  for (const wchar_t letter : letters)
    bytes.append(reinterpret_cast<const char*>(&letter), is_utf16 ? sizeof letter : 1);
  return bytes;
}

HGLOBAL make_Block(std::string_view bytes) {
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
  bytes.copy(static_cast<char*>(GlobalLock(block)), bytes.size());
  GlobalUnlock(block);
  return block;
}

DataObject::DataObject(const Lines& paths) : m_block(make_Block(drop_List(paths))) {
  m_fill = [this](STGMEDIUM& medium) {
    medium.tymed = TYMED_HGLOBAL;
    medium.hGlobal = m_block;
    return QueryInterface(IID_PPV_ARGS(&medium.pUnkForRelease));
  };
}

DataObject::~DataObject() {
  EXPECT_EQ(m_references, 0u) << "some references were not given back";
  EXPECT_EQ(GlobalFlags(m_block) & GMEM_LOCKCOUNT, 0u) << "the block is still locked";
  GlobalFree(m_block);
}

STDMETHODIMP DataObject::QueryInterface(REFIID iid, void** object) {
  *object = iid == IID_IUnknown || iid == IID_IDataObject ? this : nullptr;
  m_references += *object != nullptr;
  return *object != nullptr ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP DataObject::GetData(FORMATETC* format, STGMEDIUM* medium) {
  EXPECT_TRUE(format->cfFormat == CF_HDROP && format->ptd == nullptr && format->lindex == -1);
  EXPECT_TRUE(format->dwAspect == DVASPECT_CONTENT && format->tymed == TYMED_HGLOBAL);
  return m_fill(*medium);
}

void select(const ComPtr<IContextMenu>& object, IDataObject* selection) {
  ComPtr<IShellExtInit> initializer;
  ASSERT_EQ(object.As(&initializer), S_OK);
  EXPECT_EQ(initializer->Initialize(nullptr, selection, nullptr), S_OK);
}

void select(const ComPtr<IContextMenu>& object, const Lines& paths) {
  DataObject selection(paths);
  select(object, &selection);
}

void invoke(const ComPtr<IContextMenu>& object, const char* verb, const char* folder, DWORD size) {
  CMINVOKECOMMANDINFOEX command{};
  command.cbSize = size;
  command.fMask = size == sizeof command ? CMIC_MASK_UNICODE : 0;
  command.lpVerb = verb;
  command.lpDirectory = folder;
  command.nShow = SW_SHOWNORMAL;
  command.lpVerbW = IS_INTRESOURCE(verb) ? reinterpret_cast<const wchar_t*>(verb) : L"view";
  EXPECT_EQ(object->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&command)), S_OK);
}

MENUITEMINFOW Menu::item(UINT position) const {
  MENUITEMINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_ID | MIIM_CHECKMARKS;
  GetMenuItemInfoW(Handle, position, TRUE, &info);
  return info;
}

Lines Menu::lines() const {
  Lines lines;
  for (UINT position = 0; position < static_cast<UINT>(GetMenuItemCount(Handle)); ++position) {
    const auto info = item(position);
    wchar_t caption[64] = {};
    GetMenuStringW(Handle, position, caption, 64, MF_BYPOSITION);
    const std::wstring mark = info.hbmpUnchecked != nullptr ? L" *" : L"";
    lines.push_back((info.fType & MFT_SEPARATOR) != 0 ? L"-"
                                                      : std::to_wstring(info.wID) + L" " + caption + mark);
  }
  return lines;
}

Lines offered(const ComPtr<IContextMenu>& object, UINT first_id, UINT flags) {
  const Menu menu;
  object->QueryContextMenu(menu.Handle, 0, first_id, 0x7FFF, flags);
  return menu.lines();
}

std::wstring install_Suite() {
  const auto folder = test_folder + LR"(the suite\)";
  std::filesystem::create_directories(folder);
  for (const std::wstring program :
       {L"PageKeeper.exe", L"quill!.exe", L"NorvakWorkerProcess.exe", L"Vaultware.exe", L"NorvakConfig.exe"})
    std::filesystem::copy_file(built_File(LR"(standins\)" + program), folder + program);
  set_Value(norvak + LR"(pdf\path)", folder);
  set_Value(users + LR"(pdf\UniqueContainerName)", L"container");
  SetEnvironmentVariableW(L"NORVAK_SUITE_RECORD", record_file.c_str());
  return folder;
}

std::wstring opening(const std::wstring& program, const std::wstring& file) {
  return ::quoted(test_folder + LR"(the suite\)" + program) + L" " + ::quoted(file);
}

Lines recorded_Starts(std::size_t count) {
  constexpr int patience = 6000;
  for (int waits = 0; waits < patience && read_Lines(record_file).size() < count; ++waits)
    Sleep(10);
  return read_Lines(record_file);
}

BOOL WINAPI record_Start(const wchar_t* program, wchar_t* command, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*,
                         BOOL, DWORD, void*, const wchar_t* folder, STARTUPINFOW*,
                         PROCESS_INFORMATION* started) {
  const std::wstring_view file = program != nullptr ? program : command + (*command == L'"' ? 1 : 0);
  const auto name = file.substr(0, file.find(L'"'));
  EXPECT_EQ(folder, name.substr(0, name.rfind(L'\\') + 1)) << "not in the program's own folder";
  starts.push_back((program == nullptr ? L"" : program + std::wstring(L"\t")) + command);
  if (is_ToFail())
    return FALSE;
  *started = {CreateEventW(nullptr, FALSE, FALSE, nullptr), CreateEventW(nullptr, FALSE, FALSE, nullptr), 1,
              1};
  return TRUE;
}

void record_Starts(HMODULE module) {
  patch_Import("CreateProcessW", reinterpret_cast<void*>(record_Start), module);
}

Lines take_Starts() {
  return std::exchange(starts, {});
}

void Explorer::SetUp() {
  Machine::SetUp();
  set_Value(norvak + L"MultiSignator", L"1");
}
