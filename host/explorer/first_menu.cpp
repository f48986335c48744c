#include "host/explorer/first_menu.h"

#include <shlobj.h>

#include "base/handles.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/failure.h"
#include "host/explorer/handles.h"
#include "host/explorer/selection.h"
#include "host/language.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;

using Ask = HRESULT (STDMETHODCALLTYPE IExplorerCommand::*)(IShellItemArray*, wchar_t**);

std::wstring ask_Answer(IExplorerCommand* command, IShellItemArray* items, Ask question) {
  wchar_t* answer = nullptr;
  const HRESULT result = (command->*question)(items, &answer);
  const unique_task_text text(answer);
  // cppcheck-suppress knownConditionTrueFalse ; the call writes it
  return SUCCEEDED(result) && text ? std::wstring(text.get()) : std::wstring();
}

// The entry of the DLL that the object comes from.
LPFNGETCLASSOBJECT find_ClassEntry(IUnknown* object) {
  HMODULE library = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     **reinterpret_cast<wchar_t***>(object), &library);
  return reinterpret_cast<LPFNGETCLASSOBJECT>(
      reinterpret_cast<void*>(GetProcAddress(library, "DllGetClassObject")));
}

}  // namespace

ComPtr<IShellItemArray> make_Items(std::span<const std::wstring> paths) {
  std::vector<unique_id_list> id_lists;
  std::vector<PCIDLIST_ABSOLUTE> items;
  for (const std::wstring& path : paths) {
    PIDLIST_ABSOLUTE id_list = nullptr;
    if (FAILED(SHParseDisplayName(path.c_str(), nullptr, &id_list, 0, nullptr)))
      throw Failure{say(TEXT_SHELL_KNOWS_NO_PATH, {path})};
    id_lists.emplace_back(id_list);
    items.push_back(id_list);
  }
  ComPtr<IShellItemArray> array;
  require_Success(SHCreateShellItemArrayFromIDLists(static_cast<UINT>(items.size()), items.data(), &array),
                  TEXT_NO_ITEMS);
  return array;
}

ComPtr<IExplorerCommand> create_Verb(REFCLSID clsid) {
  const auto classic = find_ClassFactory();
  ComPtr<IClassFactory> factory;
  const auto entry = find_ClassEntry(classic.Get());
  require_Success(entry == nullptr ? E_NOINTERFACE : entry(clsid, IID_PPV_ARGS(&factory)), TEXT_NO_VERB);
  ComPtr<IExplorerCommand> verb;
  require_Success(factory->CreateInstance(nullptr, IID_PPV_ARGS(&verb)), TEXT_NO_VERB);
  return verb;
}

FirstMenu query_Verb(IExplorerCommand* verb, IShellItemArray* items) {
  FirstMenu menu;
  menu.Title = ask_Answer(verb, items, &IExplorerCommand::GetTitle);
  EXPCMDSTATE state = ECS_HIDDEN;
  menu.IsShown = SUCCEEDED(verb->GetState(items, TRUE, &state)) && state == ECS_ENABLED;
  ComPtr<IEnumExplorerCommand> children;
  if (!menu.IsShown || FAILED(verb->EnumSubCommands(&children)))
    return menu;
  for (ComPtr<IExplorerCommand> child; children->Next(1, child.ReleaseAndGetAddressOf(), nullptr) == S_OK;)
    menu.Items.push_back({child, ask_Answer(child.Get(), items, &IExplorerCommand::GetTitle),
                          ask_Answer(child.Get(), items, &IExplorerCommand::GetIcon)});
  return menu;
}

}  // namespace host
