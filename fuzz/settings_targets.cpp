// The targets of the settings: the forms of their paths, the registry and the INI files.
#include <windows.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

#include "fuzz/machine_target.h"
#include "support/ini_settings.h"
#include "support/registry.h"
#include "support/registry_keys.h"
#include "support/registry_path.h"
#include "support/settings.h"
#include "support/text.h"

namespace {

using Replacements = std::initializer_list<std::pair<const wchar_t*, const wchar_t*>>;

std::wstring replaced(std::wstring text, Replacements steps) {
  for (const auto& [from, to] : steps)
    replace_All(text, from, to);
  return text;
}

constexpr Replacements misspelling{{LR"(Sofware\)", LR"(Software\)"}};
constexpr Replacements spellings{{LR"(hklm\)", LR"(HKLM\)"},         {LR"(hkcu\)", LR"(HKCU\)"},
                                 {LR"(hlcr\)", LR"(HKCR\)"},         {LR"(software\)", LR"(SOFTWARE\)"},
                                 {LR"(Software\)", LR"(SOFTWARE\)"}, {LR"(system\)", LR"(SYSTEM\)"},
                                 {LR"(System\)", LR"(SYSTEM\)"}};
constexpr Replacements to_machine{
    {LR"(\\)", LR"(\)"}, {L"HKCU", L"HKLM"}, {L"HKEY_CURRENT_USER", L"HKEY_LOCAL_MACHINE"}};
constexpr Replacements short_root{{L"HKEY_LOCAL_MACHINE", L"HKLM"}};
constexpr Replacements text_repair{{LR"(Norvak\pdf\\to)", LR"(Norvak\pdf\to)"}};
constexpr Replacements single{{LR"(\\)", LR"(\)"}};

// Every user's settings are the machine's here, which is the longer of the two ways.
std::wstring normalised(const std::wstring& path, Replacements first, Replacements last) {
  auto result = replaced(replaced(path, first), spellings);
  if (contains(result, L"HKCU") || contains(result, L"HKEY_CURRENT_USER"))
    result = replaced(result, to_machine);
  return replaced(replaced(result, last), single);
}

void paths(Input input) {
  static const CleanMachine machine;
  static const bool forced = (set_Value(force_hklm.Path, L"1"), is_ForceHKLM());
  require(forced, "the switch is on");
  const auto text = input.take_Text();
  auto read = text, write = text, text_write = text;
  normalise_ForRead(read);
  normalise_ForWrite(write);
  normalise_ForTextWrite(text_write);
  require(read == normalised(text, {}, short_root), "a path is read in this form");
  require(write == normalised(text, misspelling, {}), "a number is written in this form");
  require(text_write == normalised(text, misspelling, text_repair), "a text is written in this form");
}

// How a value reads, from what is stored: by its size alone, or only where its terminators are there.
template <typename Letter, typename Conversion>
RegistryValue value_Of(DWORD type, std::string_view bytes, bool needs_terminators, Conversion to_text) {
  const std::size_t ends = type == REG_MULTI_SZ ? 2 : 1;
  const auto end_size = ends * sizeof(Letter);
  if (type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ) {
    const bool is_whole = bytes.size() % sizeof(Letter) == 0 && bytes.ends_with(std::string(end_size, '\0'));
    return bytes.size() < end_size || (needs_terminators && !is_whole)
               ? std::wstring()
               : to_text(bytes.substr(0, bytes.size() - end_size));
  }
  if (type == REG_BINARY) {
    const auto content = std::as_bytes(std::span(bytes));
    return std::vector<std::byte>(content.begin(), content.end());
  }
  std::int32_t number = 0;
  if (type != REG_DWORD || bytes.size() < sizeof number)
    return std::wstring();
  std::memcpy(&number, bytes.data(), sizeof number);
  return std::to_wstring(number);
}

std::wstring from_Wide(std::string_view bytes) {
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  std::memcpy(text.data(), bytes.data(), bytes.size());
  return text;
}

void registry(Input input) {
  static const CleanMachine machine;
  static const std::wstring path = norvak + L"doexit", copy = norvak + L"copy";  // never answered from memory
  const DWORD type = input.take<std::uint8_t>() % 13;
  const std::string stored(input.rest().begin(), input.rest().end());
  store(path, type, stored);
  std::string bytes(4 * stored.size() + 16, '?');
  auto size = static_cast<DWORD>(bytes.size());
  const auto place = find_Place(path);
  const auto key = open_Key(place, KEY_READ);
  RegQueryValueExA(key.get(), "doexit", nullptr, nullptr, reinterpret_cast<BYTE*>(bytes.data()), &size);
  const auto value = value_Of<char>(type, bytes.substr(0, size), false, from_Ansi);
  require(regread_api(path) == value, "the code-page value has the form of its type");
  auto read_path = path;
  require(is_Empty(value) ? (regread(read_path), true) : regread(read_path) == value,
          "a full read gives the same");

  const auto entry = read_Entry(place);
  require(entry == RegistryEntry{L"doexit", type, value_Of<wchar_t>(type, stored, true, from_Wide)},
          "the value has the form of its type");
  if (is_Empty(entry.Value))
    return;
  require(write_Value(find_Place(copy), type, entry.Value), "it can be written again");
  require(read_Entry(find_Place(copy)).Value == entry.Value, "and reads as it did");
}

std::wstring read_IniText(const std::wstring& section, const std::wstring& key, const std::wstring& file) {
  static std::array<wchar_t, 0x10000> text;
  const auto length = GetPrivateProfileStringW(section.c_str(), key.c_str(), L"(none)", text.data(),
                                               static_cast<DWORD>(text.size()), file.c_str());
  return {text.data(), length};
}

using Settings = std::map<std::pair<std::wstring, std::wstring>, std::wstring>;

// What looks like a value in the text, except the one that is changed.
Settings find_Settings(const std::wstring& text, const RegistryPlace& changed) {
  Settings settings;
  std::wstring section;
  for (auto& line : split(text, L'\n')) {
    std::erase(line, L'\r');
    const std::wstring key(trim(line.substr(0, line.find(L'='))));
    if (line.starts_with(L'['))
      section = line.substr(1, line.find(L']') - 1);
    else if (!key.empty() &&
             !(equals_IgnoringCase(section, changed.Key) && equals_IgnoringCase(key, changed.Name)))
      settings[{section, key}];
  }
  return settings;
}

Settings read_Settings(Settings settings, const std::wstring& file) {
  for (auto& [name, value] : settings)
    value = read_IniText(name.first, name.second, file);
  return settings;
}

struct IniMachine : CleanMachine {
  IniMachine() {
    set_Value(use_ini.Path, L"1");
    set_Value(install_folder.Path, test_folder);
  }
};

void ini(Input input) {
  static const IniMachine machine;
  static const std::wstring file = test_folder + L"global.ini";
  const auto path = norvak + through_Ansi(input.take_Text());
  const auto value = through_Ansi(input.take_Text());
  std::string content(input.rest().begin(), input.rest().end());
  if (!content.starts_with("\xFF\xFE"))
    std::ranges::replace(content, '\0', '0');  // the platform reads a terminator once, and another time not
  std::ofstream(std::filesystem::path(file), std::ios::binary) << content;
  if (!is_KeptInIni(path))
    return;
  const auto place = find_Place(path);
  // What the platform itself makes of the file when it writes is not the product's, nor a file that it cannot
  // keep.
  for (const auto* text : {L"1", L"2"}) {
    WritePrivateProfileStringW(L"fuzz", L"fuzz", text, file.c_str());
    WritePrivateProfileStringW(nullptr, nullptr, nullptr, file.c_str());
    if (read_IniText(L"fuzz", L"fuzz", file) != text)
      return;
  }
  const bool is_wide = content.starts_with("\xFF\xFE");
  const auto others =
      read_Settings(find_Settings(is_wide ? from_Wide(content.substr(2)) : from_Ansi(content), place), file);
  const auto old = read_Ini(path).Text;
  const bool can_write = value.find_first_of(std::wstring_view(L"\r\n\0", 3)) == std::wstring::npos;
  require(write_Ini(path, value) == can_write, "a value of one line is written");
  require(read_Ini(path).Text == (can_write ? value : old), "and reads as it was written");
  require(read_Settings(others, file) == others, "every other value is as it was");
  require(delete_FromIni(path) == !(can_write ? value : old).empty(), "it is deleted");
  require(read_Settings(others, file) == others, "every other value is still as it was");
}

}  // namespace

const std::vector<Target>& settings_Targets() {
  static const std::vector<Target> targets{
      {"paths", paths, 10000, false,
       words(R"(hklm\|HKCU|hkcu\|hlcr\|software\|Software\|Sofware\|System\|\\|Norvak\pdf\\to|\|)"
             "HKEY_CURRENT_USER|HKEY_LOCAL_MACHINE|\xFF")},
      {"registry", registry, 3000, false, {std::string("\0", 1), std::string("\0\0", 2), "a"}},
      {"ini", ini, 400, false,
       words("\r\n|[|]|=|;|\"|'| "
             "|\xFF|Software\\Norvak|[Software\\Norvak]\r\n|\xFF\xFE|\xEF\xBB\xBF|a=1\r\n|\n")}};
  return targets;
}
