#include "settings/ini_settings.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cwctype>
#include <vector>

#include "base/handles.h"
#include "base/log.h"
#include "base/process_values.h"
#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"
#include "files/marked_text.h"
#include "files/trust.h"
#include "files/user.h"
#include "settings/registry_api.h"
#include "settings/settings.h"

namespace {

struct IniFiles {
  std::wstring Users;
  std::wstring Global;
  std::wstring Default;
};

constinit Settled<bool> is_on;
constinit Settled<IniFiles> files_found;

// What finds the INI files, what the system reads itself, and what the suite's services need before any INI
// file can be reached. The parts are in lower case.
constexpr std::array registry_only_settings{&use_ini, &global_ini, &users_ini, &install_folder};
constexpr std::array<std::wstring_view, 14> registry_only_parts{
    L"currentcontrolset", L"currentversion",      L"utest",      L"ctest",     L"atest",
    L"c3979a98",          LR"(microsoft\office)", L"language",   L"useini",    L"userini",
    L"globalini",         L"installdir",          L"stickdrive", L"cryptdrive"};

bool is_RegistryOnly(std::wstring_view path) {
  const auto lower = to_Lower(path);
  return std::ranges::any_of(registry_only_settings,
                             [&](auto setting) { return equals_IgnoringCase(path, setting->Path); }) ||
         std::ranges::any_of(registry_only_parts, [&](auto part) { return contains(lower, part); });
}

std::wstring replace_Placeholders(std::wstring name) {
  debug_Log(L"entering replace_in_inipath");
  for (const auto* placeholder : {L"%user%", L"%User%", L"%USER%"})
    replace_All(name, placeholder, get_UserName());
  for (const auto* placeholder : {L"%MyDocuments%", L"%mydocuments%", L"%Mydocuments%"})
    replace_All(name, placeholder, get_DocumentsFolder());
  debug_Log(L"finished replace_in_inipath");
  return name;
}

// Never relative to the current folder: that one may be where the user has just been given files.
std::wstring find_File(const std::wstring& folder, std::wstring name, const wchar_t* usual_name) {
  name = replace_Placeholders(name.empty() ? usual_name : std::move(name));
  if (is_FullPath(name))
    return name;
  return folder.empty() ? std::wstring() : folder + name;
}

// Who may make the file where there is none is asked of its folder.
std::wstring obeyed(std::wstring file) {
  const bool is_obeyed = may_Obey(file_Exists(file) ? file : std::wstring(through_Last(file, L'\\')));
  return is_obeyed ? std::move(file) : std::wstring();
}

// None while they are being looked for.
IniFiles ini_Files() {
  return files_found.get().value_or(IniFiles());
}

std::wstring target_File(std::wstring_view path) {
  const auto files = ini_Files();
  const bool is_users = path.starts_with(L"HKCU") || path.starts_with(L"HKEY_CURRENT_USER");
  const auto& own = is_users ? files.Users : files.Global;
  const auto& other = is_users ? files.Global : files.Users;
  return own.empty() ? other : own;
}

constexpr std::wstring_view line_ends{L"\r\n\0", 3};

// The platform takes white space of every kind off the ends of what it reads, and the old mark of a file's
// end.
std::wstring_view without_Space(std::wstring_view text) {
  constexpr wchar_t end_mark = 0x1A;
  const auto is_Space = [](wchar_t letter) { return std::iswspace(letter) != 0 || letter == end_mark; };
  while (!text.empty() && is_Space(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && is_Space(text.back()))
    text.remove_suffix(1);
  return text;
}

bool has_SpaceAtAnEnd(std::wstring_view text) {
  return without_Space(text).size() != text.size();
}

std::wstring_view without_Quotes(std::wstring_view text) {
  const bool is_quoted =
      text.size() > 1 && text.front() == text.back() && (text.front() == L'"' || text.front() == L'\'');
  return is_quoted ? text.substr(1, text.size() - 2) : text;
}

bool is_OneLine(std::wstring_view text) {
  return text.find_first_of(line_ends) == std::wstring_view::npos;
}

bool can_Hold(const RegistryPlace& place) {
  return !place.Key.empty() && !has_SpaceAtAnEnd(place.Key) && !contains(place.Key, L"]") &&
         is_OneLine(place.Key) && !place.Name.empty() && !has_SpaceAtAnEnd(place.Name) &&
         !place.Name.starts_with(L'[') && !place.Name.starts_with(L';') && !contains(place.Name, L"=") &&
         is_OneLine(place.Name);
}

// As the platform reads an entry: in the first section of the name, white space of either end and one pair of
// quotes left out.
std::wstring find_Entry(const RegistryPlace& place, std::wstring_view text) {
  bool is_inside = false;
  while (!text.empty()) {
    const auto end = text.find_first_of(line_ends);
    const auto line = without_Space(text.substr(0, end));
    text.remove_prefix(end == std::wstring_view::npos ? text.size() : end + 1);
    const auto name_end = line.find(L'=');
    const bool is_heading = line.starts_with(L'[') && contains(line, L"]");
    if (is_heading && is_inside)
      return {};
    if (is_heading)
      is_inside = equals_IgnoringCase(without_Space(line.substr(1, line.rfind(L']') - 1)), place.Key);
    else if (is_inside && name_end != std::wstring_view::npos && !line.starts_with(L';') &&
             equals_IgnoringCase(without_Space(line.substr(0, name_end)), place.Name))
      return std::wstring(without_Quotes(without_Space(line.substr(name_end + 1))));
  }
  return {};
}

// The platform knows the system's code page and one of the marked forms.
std::wstring read_File(const RegistryPlace& place, const std::wstring& file) {
  assert_Unlocked();
  if (const auto text = read_MarkedText(file))
    return find_Entry(place, *text);
  constexpr std::size_t longest_value = 65536;
  std::vector<wchar_t> value(256);
  for (;;) {
    const auto size = static_cast<DWORD>(value.size());
    const DWORD length = GetPrivateProfileStringW(place.Key.c_str(), place.Name.c_str(), L"", value.data(),
                                                  size, file.c_str());
    if (length + 1 < size || size >= longest_value)
      return std::wstring(value.data(), length);
    value.resize(value.size() * 4);
  }
}

// The platform takes quotes off a value's ends too, one pair at most.
std::wstring protect(std::wstring_view value) {
  const bool is_bare = !has_SpaceAtAnEnd(value) && !value.starts_with(L'"') && !value.starts_with(L'\'');
  return is_bare ? std::wstring(value) : quoted(value);
}

// Taken without sharing, so that one program has it at a time, and gone with its handle, so that none stays
// behind a program that dies. A file on its way out, or one that may not be made at all, is "access denied".
unique_kernel_handle take_Lock(const std::wstring& ini_file) {
  constexpr ULONGLONG longest_wait = 2000;
  constexpr ULONGLONG longest_wait_when_denied = 100;
  assert_Unlocked();
  const auto path = ini_file + L".lock";
  const auto start = GetTickCount64();
  for (;;) {
    auto lock = own_File(CreateFileW(path.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, OPEN_ALWAYS,
                                     FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    const auto error = GetLastError();
    const auto patience = error == ERROR_SHARING_VIOLATION ? longest_wait
                          : error == ERROR_ACCESS_DENIED   ? longest_wait_when_denied
                                                           : 0;
    if (lock || GetTickCount64() - start >= patience)
      return lock;
    Sleep(1);
  }
}

// A null value removes the entry. What the platform keeps of the file in memory is written at once.
bool write_File(const RegistryPlace& place, const wchar_t* value, const std::wstring& file) {
  const auto lock = take_Lock(file);
  if (!lock || !make_Utf16(file) ||
      !WritePrivateProfileStringW(place.Key.c_str(), place.Name.c_str(), value, file.c_str()))
    return false;
  WritePrivateProfileStringW(nullptr, nullptr, nullptr, file.c_str());
  return true;
}

}  // namespace

bool is_IniMode() {
  return is_on.get_Or([] {
    const auto text = as_Text(regread_api(use_ini.Path));
    return !text.empty() && text != L"0";
  });
}

bool are_IniFilesWanted() {
  return is_IniMode() && !files_found.get();
}

void settle_IniFiles(const std::wstring& usual_folder) {
  const auto find = [&usual_folder](const Setting& name) {
    return obeyed(find_File(usual_folder, as_Text(regread_api(name.Path)), name.Default));
  };
  files_found.settle({find(users_ini), find(global_ini), obeyed(find_File(usual_folder, {}, L"norvak.ini"))});
}

bool is_KeptInIni(const SettingPath& path) {
  return is_IniMode() && !is_RegistryOnly(path.Text) && can_Hold(path.Place) &&
         !target_File(path.Text).empty();
}

IniValue read_Ini(const SettingPath& path) {
  auto files = ini_Files();
  // As in the registry, nobody decides this alone.
  if (equals_IgnoringCase(path.Text, certificate_always_valid.Path))
    files.Users.clear();
  for (const auto* file : {&files.Users, &files.Global, &files.Default}) {
    auto text = file->empty() ? std::wstring() : read_File(path.Place, *file);
    if (!text.empty())
      return {std::move(text), *file};
  }
  return {};
}

bool write_Ini(const SettingPath& path, std::wstring_view value) {
  return is_OneLine(value) && write_File(path.Place, protect(value).c_str(), target_File(path.Text));
}

bool delete_FromIni(const SettingPath& path) {
  const auto files = ini_Files();
  bool found = false;
  bool removed = true;
  for (const auto* file : {&files.Users, &files.Global, &files.Default}) {
    if (file->empty() || read_File(path.Place, *file).empty())
      continue;
    found = true;
    removed &= write_File(path.Place, nullptr, *file);
  }
  return found && removed;
}
