// A selection: the entries as they were captured and what they are. It is one value, which nobody changes
// once it is made; each thread keeps its last one.
#pragma once

#include <forward_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// One selected item. Its paths are those that the shell gave: no letter of a name is taken off or replaced.
struct FileEntry {
  std::wstring_view LongName;   // full path; empty when it could not be read or is blank
  std::wstring_view ShortName;  // 8.3 form; fetched only where something reads it

  // The long path, or the short one where the long one is empty.
  std::wstring_view path() const { return LongName.empty() ? ShortName : LongName; }
};

struct SelectionFlags {
  bool FilesAreFolder = false;    // every entry is an existing folder
  bool IsDrive = false;           // one drive root, secure-drive program installed
  bool ContainerPresent = false;  // the drive carries a container; true for all that is no drive
  bool DriveMounted = false;      // the drive carries the mount marker
  bool HasPdf = false;
  bool HasXml = false;
  bool HasImage = false;
  bool HasSignable = false;     // a file that "quill!" can sign
  bool HasConvertible = false;  // a PDF, or a file that can become one
  bool HasPkcs7 = false;
  bool HasEnvelope = false;  // an entry ends in "p7m"
  bool HasLink = false;
};

struct Selection {
  Selection() = default;
  ~Selection() = default;
  Selection(Selection&&) = default;
  Selection& operator=(Selection&&) = default;
  Selection(const Selection&) = delete;  // the paths are parts of the letters
  Selection& operator=(const Selection&) = delete;

  std::vector<FileEntry> Files;
  SelectionFlags Flags;
  std::vector<wchar_t> Letters;                  // what the long names are parts of
  std::forward_list<std::wstring> ShortLetters;  // and the short ones
};

// Captured by one object, read by the menu and the actions for as long as they need it.
using SharedSelection = std::shared_ptr<const Selection>;

// The last selection of this thread, whichever object captured it; an empty one before there is any.
SharedSelection current_Selection();
void keep_Selection(SharedSelection selection);
