// Settings that are kept in INI files instead of the registry, for machines where
// "HKLM\Software\Norvak\useini" is on. A value's section is the key path below the root, its key the value
// name. Three files are read, the first value found counts: the user's ("HKLM\Software\Norvak\userini",
// usually "%user%.ini"), the one for all users ("…\globalini", usually "global.ini"), and "norvak.ini". The
// switch and the names are settled once a process.
#pragma once

#include <string>
#include <string_view>

#include "settings/registry_api.h"

// Whether INI mode is on.
bool is_IniMode();

// Whether INI mode is on and it is not settled yet where the files are.
bool are_IniFilesWanted();

// Settles where the files are; a name without a folder is one in the usual folder, that of the suite.
void settle_IniFiles(const std::wstring& usual_folder);

// Whether the value of the path (as normalised for the registry) is kept in INI files: INI mode is on
// ("useini" is neither empty nor "0"), a file is named, and the path neither belongs to the registry alone
// nor has names that no INI file can hold. No until the files are settled.
bool is_KeptInIni(const SettingPath& path);

struct IniValue {
  std::wstring Text;
  std::wstring File;
};

// The value with the file that has it; both empty when none does.
IniValue read_Ini(const SettingPath& path);

// Writes the value, of an HKCU path into the user's file and of any other into the one for all users. Other
// programs wait meanwhile: the writer holds a lock file, the INI file's name with ".lock" appended, which
// ends with the process that holds it. False when the file cannot be written or stays locked for two seconds,
// and for a value with line breaks, which an INI file cannot hold.
bool write_Ini(const SettingPath& path, std::wstring_view value);

// Removes the value from all three files. False when none had it, or one of them could not be changed.
bool delete_FromIni(const SettingPath& path);
