// Decides which of the ten items the selection gets, for either menu, and puts them into the shell's classic
// one, one action-table record each. Kept for the life of the process: the translated captions.
#pragma once

#include <windows.h>

#include <shlobj.h>

#include <array>
#include <span>
#include <string>

#include "menu/items.h"

struct OfferedItem {
  const MenuItem* Row = nullptr;  // null where the item failed on its way; it has its number all the same
  std::wstring Caption;           // translated, with room for the mark of its access key
};

struct Offer {
  std::array<OfferedItem, menu_items.size()> Items;
  std::size_t Count = 0;

  std::span<OfferedItem> all() { return std::span(Items).first(Count); }
};

// The items that a selection of these flags gets, in their order.
Offer offer_Items(const SelectionFlags& flags);

// Whether there are any; no caption is looked for.
bool has_Items(const SelectionFlags& flags);

// The letters that are access keys without our choice: those of the menu that the items come into, if there
// is one, and those that captions mark themselves. Empty when memory runs out.
std::wstring access_Keys(std::span<const OfferedItem> items, HMENU menu) noexcept;

// The shell's `QueryContextMenu`, entered through the method table of `ShellExt`, whose object it does not
// need. Returns the number of command identifiers used, which is the shell's success code too; 0 when nothing
// was offered. `idCmdLast` is not looked at: five identifiers are the most that a selection gets.
HRESULT STDMETHODCALLTYPE QueryContextMenu(IContextMenu* object, HMENU hmenu, UINT indexMenu, UINT idCmdFirst,
                                           UINT idCmdLast, UINT uFlags) noexcept;
