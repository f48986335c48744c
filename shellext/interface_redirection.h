// Makes the shell's `QueryContextMenu` reach the menu composition: while a `ShellExt` object lives, that
// entry of its method table points there. The table belongs to the class, so every object of the process is
// redirected at once, and one value is saved for all of them. The compiler's own table lies in memory that
// nobody may write, and to change the protection of a page twice with each object takes longer than all else
// that a right-click does; so the objects have a copy of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct IContextMenu;

// `QueryContextMenu` in the method table of `IContextMenu`, counted from 1.
constexpr std::int16_t context_menu_entry = 4;

// `IContextMenu` has so many methods, those of `IUnknown` included.
constexpr std::size_t context_menu_methods = 6;

// Gives the object the method table that all objects of the process use.
void use_WritableMethodTable(IContextMenu* object);

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
