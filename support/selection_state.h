// The state of the selection that the menu and the actions both read. It lives as long as the module and
// describes the selection that was captured last, whichever object captured it.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

// One selected item; both paths are trimmed of blanks. They are parts of texts that the object has which
// captured the selection.
struct FileEntry {
  std::wstring_view LongName;   // full path; empty when it could not be read
  std::wstring_view ShortName;  // 8.3 form; fetched only where something reads it

  // The long path, or the short one where the long one is empty.
  std::wstring_view path() const { return LongName.empty() ? ShortName : LongName; }
};

struct SelectionFlags {
  VARIANT_BOOL FilesAreFolder = VARIANT_FALSE;  // every entry is an existing folder
  VARIANT_BOOL IsDrive = VARIANT_FALSE;         // one drive root, secure-drive program installed
  VARIANT_BOOL ContainerPresent =
      VARIANT_FALSE;                          // the drive carries a container; true for all that is no drive
  VARIANT_BOOL DriveMounted = VARIANT_FALSE;  // the drive carries the mount marker
  VARIANT_BOOL HasPdf = VARIANT_FALSE;
  VARIANT_BOOL HasXml = VARIANT_FALSE;
  VARIANT_BOOL HasImage = VARIANT_FALSE;
  VARIANT_BOOL HasSignable = VARIANT_FALSE;     // a file that "quill!" can sign
  VARIANT_BOOL HasConvertible = VARIANT_FALSE;  // a PDF, or a file that can become one
  VARIANT_BOOL HasPkcs7 = VARIANT_FALSE;
  VARIANT_BOOL HasLink = VARIANT_FALSE;
  VARIANT_BOOL CardSigningAvailable = VARIANT_FALSE;  // a smart-card feature is switched on
};

constexpr VARIANT_BOOL to_VariantBool(bool value) {
  return value ? VARIANT_TRUE : VARIANT_FALSE;
}

// The flags of the last analysis.
SelectionFlags& selection_flags();

// The selection list split at its separator. The paths share one text: a large selection is split with every
// right-click, and most selections have few readers.
class SelectedFiles {
 public:
  void assign(std::wstring_view list, wchar_t separator);
  // Puts another path in the place of the first one, which must be there.
  void replace_First(std::wstring_view path);
  // Valid until the next change.
  std::span<const std::wstring_view> paths() const { return m_paths; }

 private:
  std::wstring m_list;
  std::wstring m_first;  // the first path, once it was replaced
  std::vector<std::wstring_view> m_paths;
};

// The paths of the last selection; a drive without backslash gets one here during the analysis.
SelectedFiles& selected_files();
