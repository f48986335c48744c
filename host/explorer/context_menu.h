// The extension as Explorer uses it: created through its class factory, initialised with a selection, asked
// for its items, for their texts, and to carry one out. No state.
#pragma once

#include <objidl.h>
#include <shobjidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <string>
#include <vector>

namespace host {

// The highest identifier that the shell hands out to context-menu handlers.
constexpr UINT last_command_id = 0x7FFF;

struct MenuEntry {
  int Position = 0;
  bool IsSeparator = false;
  bool HasCheckMarkBitmap = false;
  bool HasItemBitmap = false;
  UINT Id = 0;
  UINT Offset = 0;  // what the extension's other calls know the item by
  std::wstring Caption;
  std::wstring Verb;  // like the help text, empty until `fetch_Texts`
  std::wstring HelpText;
};

struct Offer {
  UINT ReturnedCount = 0;          // what the extension says that it added
  std::vector<MenuEntry> Entries;  // what stands in the menu
};

// Throws a Failure with the sentence where the result tells one; the sentence has its number and the part.
void require_Success(HRESULT result, unsigned long what_failed, const std::wstring& part = {});

// The factory of the registered extension; throws a Failure when it is not registered or cannot be loaded.
Microsoft::WRL::ComPtr<IClassFactory> find_ClassFactory();

// The text that a person reads: the mark of an access key is none of it.
std::wstring without_Mark(const std::wstring& caption);

// Creates the extension's object through its class factory and hands it the selection; throws a Failure when
// the extension is not registered, cannot be loaded or refuses the selection.
Microsoft::WRL::ComPtr<IContextMenu> create_Extension(IDataObject* selection);

// Lets the extension add its items at the end of the menu and reads back what it added.
Offer query_Menu(IContextMenu* extension, HMENU menu, UINT first_id, UINT flags);

// Asks the extension for the verb and the help text of each item, by its offset as Explorer does.
void fetch_Texts(IContextMenu* extension, Offer& offer);

// The entries that can be picked, in the menu's order.
std::vector<MenuEntry> select_Items(const Offer& offer);

// Carries out the item as if it had been picked; throws a Failure when the extension reports an error.
void invoke_Item(IContextMenu* extension, const MenuEntry& item, HWND owner);

}  // namespace host
