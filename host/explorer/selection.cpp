#include "host/explorer/selection.h"

#include <shlobj.h>
#include <shobjidl.h>

#include <algorithm>
#include <iterator>

#include "base/text.h"
#include "files/file_names.h"
#include "host/explorer/drop_list.h"
#include "host/explorer/failure.h"
#include "host/explorer/handles.h"
#include "host/language.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;

bool is_DriveRoot(std::wstring_view path) {
  return path.size() == 3 && path.ends_with(L":\\");
}

// The path as Explorer knows it: full, with long names, and without a backslash at its end, except in a
// drive's root.
std::wstring complete_Path(const std::wstring& path) {
  // "E:" alone means the drive here; to the platform it is the current folder of that drive.
  const std::wstring meant = path.size() == 2 && path.ends_with(L':') ? path + L'\\' : path;
  std::wstring full = meant;
  if (!meant.starts_with(LR"(\\?\)")) {  // that form is for names that would be changed otherwise
    full = fetch_Path(
        [&](wchar_t* buffer, DWORD size) { return GetFullPathNameW(meant.c_str(), size, buffer, nullptr); });
  }
  if (full.empty() || GetFileAttributesW(exact_Path(full).c_str()) == INVALID_FILE_ATTRIBUTES)
    throw Failure{say(TEXT_NO_PATH, {path})};
  const std::wstring with_long_names =
      fetch_Path([&](wchar_t* buffer, DWORD size) { return GetLongPathNameW(full.c_str(), buffer, size); });
  if (!with_long_names.empty())
    full = with_long_names;
  while (full.ends_with(L'\\') && !is_DriveRoot(full))
    full.pop_back();
  return full;
}

// The shell's identifiers of the paths; one that the shell cannot parse leaves the list short.
std::vector<unique_id_list> parse_Paths(std::span<const std::wstring> paths) {
  std::vector<unique_id_list> id_lists;
  for (const std::wstring& path : paths) {
    PIDLIST_ABSOLUTE id_list = nullptr;
    if (SUCCEEDED(SHParseDisplayName(path.c_str(), nullptr, &id_list, 0, nullptr)))
      id_lists.emplace_back(id_list);
  }
  return id_lists;
}

bool have_SameParent(std::span<const unique_id_list> id_lists) {
  unique_id_list parent(ILCloneFull(id_lists.front().get()));
  ILRemoveLastID(parent.get());
  return std::ranges::all_of(
      id_lists, [&](const unique_id_list& id_list) { return ILIsParent(parent.get(), id_list.get(), TRUE); });
}

// Asks the folder for the data object of its children, as an Explorer window does for what is selected in it.
ComPtr<IDataObject> ask_Folder(std::span<const unique_id_list> id_lists) {
  ComPtr<IShellFolder> folder;
  ComPtr<IDataObject> data_object;
  std::vector<PCUITEMID_CHILD> children(id_lists.size());
  for (std::size_t i = 0; i < id_lists.size(); ++i) {
    if (FAILED(
            SHBindToParent(id_lists[i].get(), IID_PPV_ARGS(folder.ReleaseAndGetAddressOf()), &children[i])))
      return nullptr;
  }
  folder->GetUIObjectOf(nullptr, static_cast<UINT>(children.size()), children.data(), IID_IDataObject,
                        nullptr, reinterpret_cast<void**>(data_object.GetAddressOf()));
  return data_object;
}

// Asks for one data object of items of different folders, as a search result or a library does.
ComPtr<IDataObject> ask_ItemArray(std::span<const unique_id_list> id_lists) {
  std::vector<PCIDLIST_ABSOLUTE> items;
  for (const unique_id_list& id_list : id_lists)
    items.push_back(id_list.get());
  ComPtr<IShellItemArray> array;
  ComPtr<IDataObject> data_object;
  if (SUCCEEDED(SHCreateShellItemArrayFromIDLists(static_cast<UINT>(items.size()), items.data(), &array)))
    array->BindToHandler(nullptr, BHID_DataObject, IID_PPV_ARGS(&data_object));
  return data_object;
}

bool offers_Paths(IDataObject* data_object, std::span<const std::wstring> paths) {
  return std::ranges::equal(read_DropList(data_object), paths, equals_IgnoringCase);
}

ComPtr<IDataObject> ask_Shell(std::span<const std::wstring> paths) {
  const auto id_lists = parse_Paths(paths);
  if (id_lists.size() != paths.size())
    return nullptr;
  return have_SameParent(id_lists) ? ask_Folder(id_lists) : ask_ItemArray(id_lists);
}

}  // namespace

Selection make_Selection(std::span<const std::wstring> paths) {
  Selection selection;
  std::ranges::transform(paths, std::back_inserter(selection.Paths), complete_Path);
  selection.DataObject = ask_Shell(selection.Paths);
  selection.IsFromShell = selection.DataObject && offers_Paths(selection.DataObject.Get(), selection.Paths);
  if (!selection.IsFromShell)
    selection.DataObject = create_DropListObject(selection.Paths);
  return selection;
}

}  // namespace host
