// The owners of the platform's handles: one type a kind, so that nothing is released by hand.
#pragma once

#include <windows.h>

#include <objidl.h>
#include <ole2.h>

#include <memory>
#include <type_traits>

template <auto release>
struct ReleasedBy {
  template <typename Handle>
  void operator()(Handle handle) const noexcept {
    release(handle);
  }
};

template <typename Handle, auto release>
using unique_handle = std::unique_ptr<std::remove_pointer_t<Handle>, ReleasedBy<release>>;

using unique_hbitmap = unique_handle<HBITMAP, &DeleteObject>;
using unique_hdc = unique_handle<HDC, &DeleteDC>;
using unique_hicon = unique_handle<HICON, &DestroyIcon>;
using unique_hkey = unique_handle<HKEY, &RegCloseKey>;
using unique_hmodule = unique_handle<HMODULE, &FreeLibrary>;
using unique_local_memory = unique_handle<HLOCAL, &LocalFree>;
using unique_search = unique_handle<HANDLE, &FindClose>;
using unique_task_text = unique_handle<wchar_t*, &CoTaskMemFree>;
using unique_kernel_handle = unique_handle<HANDLE, &CloseHandle>;

// The owner of a file handle; empty where the platform reports its failure as -1.
inline unique_kernel_handle own_File(HANDLE opened) noexcept {
  return unique_kernel_handle(opened == INVALID_HANDLE_VALUE ? nullptr : opened);
}

// What `GetData` filled, released by whoever the medium names.
struct unique_stg_medium : STGMEDIUM {
  unique_stg_medium() noexcept : STGMEDIUM{} {}
  ~unique_stg_medium() { ReleaseStgMedium(this); }
  unique_stg_medium(const unique_stg_medium&) = delete;
  unique_stg_medium& operator=(const unique_stg_medium&) = delete;
};
