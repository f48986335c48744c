// Owners of the handles that the host works with, so that nothing is released by hand. Keeps no state.
#pragma once

#include <objbase.h>
#include <shtypes.h>
#include <windows.h>

#include <memory>
#include <type_traits>

namespace host {

struct MenuDeleter {
  void operator()(HMENU menu) const { DestroyMenu(menu); }
};
using unique_menu = std::unique_ptr<std::remove_pointer_t<HMENU>, MenuDeleter>;

struct WindowDeleter {
  void operator()(HWND window) const { DestroyWindow(window); }
};
using unique_window = std::unique_ptr<std::remove_pointer_t<HWND>, WindowDeleter>;

struct IdListDeleter {
  void operator()(ITEMIDLIST_ABSOLUTE* id_list) const { CoTaskMemFree(id_list); }
};
using unique_id_list = std::unique_ptr<ITEMIDLIST_ABSOLUTE, IdListDeleter>;

struct GlobalMemoryDeleter {
  void operator()(void* memory) const { GlobalFree(memory); }
};
using unique_global_memory = std::unique_ptr<void, GlobalMemoryDeleter>;

}  // namespace host
