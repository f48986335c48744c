// What the registry says about the extension itself. No state.
#pragma once

#include <string>
#include <vector>

#include "host/texts.h"

namespace host {

enum class EntryState { Registered, Missing, Wrong };

// An entry beside the class, and what is wrong where it is not registered.
struct EntryKind {
  std::wstring_view Name;     // in JSON
  unsigned long Label;        // what it is called in a report
  std::wstring_view Problem;  // the problem's code
  unsigned long Sentence;
};
inline constexpr EntryKind prog_id_entry{L"progId", TEXT_ENTRY_PROG_ID, L"progIdMissing",
                                         TEXT_PROG_ID_MISSING};
inline constexpr EntryKind type_library_entry{L"typeLibrary", TEXT_ENTRY_TYPE_LIBRARY, L"typeLibraryMissing",
                                              TEXT_TYPE_LIBRARY_MISSING};
inline constexpr EntryKind files_entry{L"handlerForFiles", TEXT_ENTRY_FILES, L"handlerMissing",
                                       TEXT_NO_HANDLER_FILES};
inline constexpr EntryKind folders_entry{L"handlerForFolders", TEXT_ENTRY_FOLDERS, L"handlerMissing",
                                         TEXT_NO_HANDLER_FOLDERS};
inline constexpr EntryKind drives_entry{L"handlerForDrives", TEXT_ENTRY_DRIVES, L"handlerMissing",
                                        TEXT_NO_HANDLER_DRIVES};
inline constexpr EntryKind approval_entry{L"approval", TEXT_ENTRY_APPROVAL, L"notApproved",
                                          TEXT_NOT_APPROVED};

// How an entry is, and where it is or should be.
struct Entry {
  const EntryKind* Kind;
  EntryState State;
  std::wstring Path;
};

struct Registration {
  std::wstring ClassPath;  // of the class's DLL
  std::wstring File;       // the DLL that Explorer would load; empty when none is registered for it
  std::wstring Version;    // its product version; empty when the file has none or is not there
  bool IsFileThere = false;
  bool IsForExplorer = false;  // for the same processor as Explorer
  std::wstring OtherFile;      // the DLL for 32-bit programs on a 64-bit Windows
  std::vector<Entry> Entries;  // ProgID, type library, the handlers of files, folders and drives, approval
  std::vector<std::wstring> Blocks;     // the values that have Windows block the class
  std::vector<std::wstring> UsersKeys;  // this user's own, which count before the machine's
  bool NeedsApproval = false;           // Windows loads approved extensions alone
};

Registration find_Registration();

// The product version of a program or DLL; empty when it has none.
std::wstring read_Version(const std::wstring& file);

// The names of the states in JSON.
std::wstring_view name_Of(EntryState state);

}  // namespace host
