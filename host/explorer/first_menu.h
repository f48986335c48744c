// The extension as Windows 11 uses it for its first menu: one verb, asked whether it is shown for a
// selection, and then for its children. No state.
#pragma once

#include <shobjidl.h>
#include <wrl/client.h>

#include <span>
#include <string>
#include <vector>

namespace host {

struct FirstMenuItem {
  Microsoft::WRL::ComPtr<IExplorerCommand> Command;
  std::wstring Title;  // with the mark of its access key
  std::wstring Icon;   // "file,-number"; empty where it has none
};

struct FirstMenu {
  std::wstring Title;  // of the verb
  bool IsShown = false;
  std::vector<FirstMenuItem> Items;
};

// The paths as Windows hands them to such a verb; throws a Failure for one that the shell does not know.
Microsoft::WRL::ComPtr<IShellItemArray> make_Items(std::span<const std::wstring> paths);

// A verb of that class, of the DLL that is registered for the classic menu, since the package alone names the
// class; throws a Failure when there is none.
Microsoft::WRL::ComPtr<IExplorerCommand> create_Verb(REFCLSID clsid);

// What the verb answers for the items, in the order in which Windows asks. One that fails an answer is not
// shown.
FirstMenu query_Verb(IExplorerCommand* verb, IShellItemArray* items);

}  // namespace host
