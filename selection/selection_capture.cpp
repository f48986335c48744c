#include "selection/selection_capture.h"

#include <shlobj.h>
#include <wrl/client.h>

#include <cstring>
#include <utility>

#include "base/handles.h"
#include "base/log.h"
#include "base/process_values.h"
#include "base/text.h"
#include "files/file_names.h"
#include "selection/drop_list.h"
#include "selection/selection_analysis.h"
#include "suite/pkcs7_icons.h"

namespace {

DroppedNames dropped_Names(IDataObject* lpdobj) {
  assert_Unlocked();
  Microsoft::WRL::ComPtr<IDataObject> data;
  if (lpdobj == nullptr || FAILED(lpdobj->QueryInterface(IID_PPV_ARGS(&data))) || !data)
    return {};
  FORMATETC format{CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  unique_stg_medium medium;
  if (FAILED(data->GetData(&format, &medium))) {
    static_cast<STGMEDIUM&>(medium) = {};  // what a failed call left there is not ours to release
    return {};
  }
  return medium.tymed == TYMED_HGLOBAL ? read_DropList(medium.hGlobal) : DroppedNames();
}

void read_ShortPath(std::wstring_view path, FileEntry& entry, Selection& selection,
                    std::wstring& m_szShortFile) {
  auto found = short_Path(path);
  if (found.empty())
    return;
  const std::wstring_view short_path = selection.ShortLetters.emplace_front(std::move(found));
  entry.ShortName = short_path;
  m_szShortFile.append(L" ").append(short_path);
}

std::wstring join_Paths(std::span<const FileEntry> files) {
  std::wstring m_szFile;
  for (const auto& entry : files)
    if (!entry.LongName.empty())
      m_szFile.append(m_szFile.empty() ? L"" : L"|").append(entry.LongName);
  return m_szFile;
}

// Nothing where the item is no file.
unique_task_text path_Of(IShellItemArray& items, DWORD index) {
  Microsoft::WRL::ComPtr<IShellItem> item;
  wchar_t* path = nullptr;
  if (SUCCEEDED(items.GetItemAt(index, &item)) && item &&
      FAILED(item->GetDisplayName(SIGDN_FILESYSPATH, &path)))
    path = nullptr;  // what a failed call left there is not ours to release
  return unique_task_text(path);
}

// The selection's own drop list is one question, each item two more; not every shell makes it of items. The
// items' paths are put as a drop list has them, so that the names are read by the same steps.
DroppedNames names_Of(IShellItemArray* items) {
  assert_Unlocked();
  if (items == nullptr)
    return {};
  Microsoft::WRL::ComPtr<IDataObject> data;
  if (SUCCEEDED(items->BindToHandler(nullptr, BHID_DataObject, IID_PPV_ARGS(&data))))
    if (auto dropped = dropped_Names(data.Get()); !dropped.Names.empty())
      return dropped;
  DWORD count = 0;
  if (FAILED(items->GetCount(&count)))
    return {};
  const DROPFILES header{sizeof header, {}, FALSE, TRUE};
  std::wstring list(sizeof header / sizeof(wchar_t), L'\0');
  std::memcpy(list.data(), &header, sizeof header);
  for (DWORD index = 0; index < count; ++index)
    if (const auto path = path_Of(*items, index); path && *path != L'\0')
      list.append(path.get()).append(1, L'\0');
  return read_DropNames({reinterpret_cast<const char*>(list.data()), list.size() * sizeof(wchar_t)});
}

Selection capture_Names(DroppedNames dropped, std::wstring& m_szShortFile) {
  const auto names = std::move(dropped.Names);
  if (names.empty())
    debug_Log(L"Subscript out of range");
  debug_Log(L"ifiles: ", static_cast<long>(names.size()));

  Selection selection;
  selection.Letters = std::move(dropped.Letters);
  selection.Files.resize(names.size());
  // The short paths are by far the dearest part of a large selection; only the log and entries without a long
  // path read them.
  const bool is_logged = is_LogOn();
  for (std::size_t index = 0; index < names.size(); ++index) {
    const auto name = names[index];
    auto& entry = selection.Files[index];
    if (!trim(name).empty())
      entry.LongName = name;
    else if (!name.empty())
      debug_Log(L"sztemp empty");
    if (!name.empty() && (is_logged || entry.LongName.empty()))
      read_ShortPath(name, entry, selection, m_szShortFile);
  }
  m_szShortFile = std::wstring(trim(m_szShortFile));
  if (is_logged) {
    debug_Log(m_szShortFile);
    debug_Log(join_Paths(selection.Files));
    if (!selection.Files.empty())
      debug_Log(L"Files: ", static_cast<long>(selection.Files.size()));
  }
  selection.Flags = analyze_Selection(selection.Files);
  if (selection.Flags.HasEnvelope)
    repair_Pkcs7Icons();
  return selection;
}

}  // namespace

Selection capture_Selection(IDataObject* lpdobj, std::wstring& m_szShortFile) {
  return capture_Names(dropped_Names(lpdobj), m_szShortFile);
}

Selection capture_Selection(IShellItemArray* items) {
  std::wstring short_paths;
  return capture_Names(names_Of(items), short_paths);
}
