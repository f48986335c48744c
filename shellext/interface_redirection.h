// Makes the shell's `QueryContextMenu` reach the menu composition: while a `ShellExt` object lives, that
// entry of its method table points there. The table belongs to the class, so every object of the process is
// redirected at once, and one value is saved for all of them.
#pragma once

#include <cstdint>
#include <string>

struct IContextMenu;

// `QueryContextMenu` in the method table of `IContextMenu`, counted from 1.
constexpr std::int16_t context_menu_entry = 4;

// Puts a new address into an entry of an interface's method table and returns the one that it held. A
// protection that cannot be changed is not noticed.
void* patch_VTableEntry(void* interface_pointer, std::int16_t entry, void* address);

// Exchanges the entry `QueryContextMenu` for the menu composition, and back; the replaced value is saved.
void redirect_QueryContextMenu(IContextMenu* object);
void restore_QueryContextMenu(IContextMenu* object);

// The class identifier of a ProgID in its braced form; else "Bad ProgId rc::" or "Bad ClassID rc::" and the
// code of the failure.
std::wstring get_ClsidString(const std::wstring& progid);

// What has to be done once before the first object of the module.
void Main();
