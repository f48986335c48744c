#include "host/explorer/selection.h"

#include <shlobj.h>
#include <shobjidl.h>

#include <algorithm>
#include <iterator>

#include "files/file_names.h"
#include "host/explorer/drop_list.h"
#include "host/explorer/failure.h"
#include "host/explorer/handles.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;

bool is_drive_root(std::wstring_view path) {
  return path.size() == 3 && path.ends_with(L":\\");
}

/// The path as Explorer knows it: full, with long names, and without a backslash at its end but for a drive's
/// root.
std::wstring complete_path(const std::wstring& path) {
  // "E:" alone means the drive here; to the platform it is the current folder of that drive.
  const std::wstring meant = path.size() == 2 && path.ends_with(L':') ? path + L'\\' : path;
  std::wstring full = meant;
  if (!meant.starts_with(LR"(\\?\)")) {  // that form is for names that would be changed otherwise
    full = fetch_Path(
        [&](wchar_t* buffer, DWORD size) { return GetFullPathNameW(meant.c_str(), size, buffer, nullptr); });
  }
  if (full.empty() || GetFileAttributesW(exact_Path(full).c_str()) == INVALID_FILE_ATTRIBUTES) {
    throw Failure{L"The path " + quote_text(path) + L" does not exist."};
  }
  const std::wstring with_long_names =
      fetch_Path([&](wchar_t* buffer, DWORD size) { return GetLongPathNameW(full.c_str(), buffer, size); });
  if (!with_long_names.empty()) {
    full = with_long_names;
  }
  while (full.ends_with(L'\\') && !is_drive_root(full)) {
    full.pop_back();
  }
  return full;
}

/// The shell's identifiers of the paths; one that the shell cannot parse leaves the list short.
std::vector<unique_id_list> parse_paths(std::span<const std::wstring> paths) {
  std::vector<unique_id_list> id_lists;
  for (const std::wstring& path : paths) {
    PIDLIST_ABSOLUTE id_list = nullptr;
    if (SUCCEEDED(SHParseDisplayName(path.c_str(), nullptr, &id_list, 0, nullptr))) {
      id_lists.emplace_back(id_list);
    }
  }
  return id_lists;
}

bool have_same_parent(std::span<const unique_id_list> id_lists) {
  unique_id_list parent(ILCloneFull(id_lists.front().get()));
  ILRemoveLastID(parent.get());
  return std::ranges::all_of(
      id_lists, [&](const unique_id_list& id_list) { return ILIsParent(parent.get(), id_list.get(), TRUE); });
}

/// As Explorer's own window does for what is selected in it: the folder makes the data object of its
/// children.
ComPtr<IDataObject> ask_folder(std::span<const unique_id_list> id_lists) {
  ComPtr<IShellFolder> folder;
  ComPtr<IDataObject> data_object;
  std::vector<PCUITEMID_CHILD> children(id_lists.size());
  for (std::size_t i = 0; i < id_lists.size(); ++i) {
    if (FAILED(
            SHBindToParent(id_lists[i].get(), IID_PPV_ARGS(folder.ReleaseAndGetAddressOf()), &children[i]))) {
      return nullptr;
    }
  }
  folder->GetUIObjectOf(nullptr, static_cast<UINT>(children.size()), children.data(), IID_IDataObject,
                        nullptr, reinterpret_cast<void**>(data_object.GetAddressOf()));
  return data_object;
}

/// As for a search result or a library: items of different folders.
ComPtr<IDataObject> ask_item_array(std::span<const unique_id_list> id_lists) {
  std::vector<PCIDLIST_ABSOLUTE> items;
  for (const unique_id_list& id_list : id_lists) {
    items.push_back(id_list.get());
  }
  ComPtr<IShellItemArray> array;
  ComPtr<IDataObject> data_object;
  if (SUCCEEDED(SHCreateShellItemArrayFromIDLists(static_cast<UINT>(items.size()), items.data(), &array))) {
    array->BindToHandler(nullptr, BHID_DataObject, IID_PPV_ARGS(&data_object));
  }
  return data_object;
}

bool offers_paths(IDataObject* data_object, std::span<const std::wstring> paths) {
  return std::ranges::equal(
      read_drop_list(data_object), paths, [](const std::wstring& offered, const std::wstring& wanted) {
        return CompareStringOrdinal(offered.c_str(), -1, wanted.c_str(), -1, TRUE) == CSTR_EQUAL;
      });
}

ComPtr<IDataObject> ask_shell(std::span<const std::wstring> paths) {
  const std::vector<unique_id_list> id_lists = parse_paths(paths);
  if (id_lists.size() != paths.size()) {
    return nullptr;
  }
  return have_same_parent(id_lists) ? ask_folder(id_lists) : ask_item_array(id_lists);
}

}  // namespace

Selection make_selection(std::span<const std::wstring> paths) {
  Selection selection;
  std::ranges::transform(paths, std::back_inserter(selection.Paths), complete_path);
  selection.DataObject = ask_shell(selection.Paths);
  selection.IsFromShell = selection.DataObject && offers_paths(selection.DataObject.Get(), selection.Paths);
  if (!selection.IsFromShell) {
    selection.DataObject = create_drop_list_object(selection.Paths);
  }
  return selection;
}

}  // namespace host
