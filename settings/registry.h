// The suite's settings in the registry, each named by one path text such as "HKLM\Software\Norvak\MenuMode".
// Kept by each thread: the last path read with its value, and the quiet state; by the process: the install
// folder found by its files.
#pragma once

#include <string>
#include <string_view>

#include "settings/registry_api.h"

// Settles the switch and the INI files that paths are read by, once a process. The members here do; whoever
// uses registry_path.h or ini_settings.h by themselves asks for it first.
void load_ForceHKLM();
void find_IniFiles();

// The suite's install folder: the text of "HKLM\SOFTWARE\Norvak\pdf\path", else of
// "HKLM\SOFTWARE\Norvak\pdf\INSTALLDIR", with a backslash at its end; empty when neither is a full path.
std::wstring get_InstallFolder();

// Reads the value of the path, which is normalised first. A user who may not write to HKLM reads the own
// value of the suite's "pdf" branch first, then the machine's. The same path read twice in a row answers from
// memory. The empty text when nothing was found or the quiet state is set; value forms as in `regread_api`.
RegistryValue regread(std::wstring_view path);

// A value with the place that it came from: the path that has it, as this program reaches it, the INI file,
// or the folder's own files for an install folder that was found by them. Both are empty when nothing was
// found.
struct FoundValue {
  RegistryValue Value;
  std::wstring Place;
};

// What `regread` delivers, not from memory, with its place. Nothing while another read is under way.
FoundValue find_Value(std::wstring_view path);

// From now on settings are read only: each write answers false, except the test of `permtest`.
void forbid_Writes();

// `regread` as text; binary values give the empty text.
std::wstring regread_Text(std::wstring_view path);

// While one lives, `regread_Text` reads each path once and then answers from memory, until a setting is
// written, here or by another program. A right-click asks for the same folders again and again, and the next
// one for those again: what was read is remembered as long as the registry does not change, or, where
// settings may come from INI files, from a selection to its menu.
class RememberedReads {
 public:
  enum class For { Selection, Menu };
  explicit RememberedReads(For purpose);
  ~RememberedReads();
  RememberedReads(const RememberedReads&) = delete;
  RememberedReads& operator=(const RememberedReads&) = delete;
};

// Writes a REG_SZ value; the path is normalised first. A user who may not write to HKLM writes the own
// copy of the suite's "pdf" branch. False when the value could not be written or the quiet state is set.
bool regwrite_sz(std::wstring_view path, std::wstring value);

// Writes a REG_DWORD value, otherwise like `regwrite_sz`.
bool regwrite_dw(std::wstring_view path, long value);

// Removes the value, in INI mode from the INI files too, as a path of `regwrite_dw`. False when it is missing
// or the quiet state is set.
bool deletevalue(std::wstring_view path) noexcept;

// While the quiet state is set, reads give the empty text and writes do nothing. Under the account of the
// system or a service it is always set.
void set_QuietState(bool quiet) noexcept;
bool is_Quiet();
