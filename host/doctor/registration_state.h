// What the registry says about the extension itself. No state.
#pragma once

#include <string>
#include <vector>

namespace host {

enum class EntryState { Registered, Missing, Wrong };

// One entry beside the class: its name in JSON, how it is, and where it is or should be.
struct Entry {
  std::wstring_view Name;
  EntryState State;
  std::wstring Path;
};

struct Registration {
  std::wstring ClassPath;  // of the class's DLL
  std::wstring File;       // the DLL that Explorer would load; empty when none is registered for it
  std::wstring Version;    // its product version; empty when the file has none or is not there
  bool IsFileThere = false;
  std::wstring OtherFile;      // the DLL for 32-bit programs on a 64-bit Windows
  std::vector<Entry> Entries;  // ProgID, type library, the handlers of files, folders and drives, approval
  std::vector<std::wstring> Blocks;  // the values that have Windows block the class
  bool NeedsApproval = false;        // Windows loads approved extensions alone
};

Registration find_Registration();

// The product version of a program or DLL; empty when it has none.
std::wstring read_Version(const std::wstring& file);

// The names of the states in JSON.
std::wstring_view name_Of(EntryState state);

}  // namespace host
