// The targets for the settings: the forms of their paths, the registry and the INI files.
#include <windows.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "base/text.h"
#include "fuzz/machine_target.h"
#include "settings/ini_settings.h"
#include "settings/registry.h"
#include "settings/registry_keys.h"
#include "settings/registry_path.h"
#include "settings/settings.h"

namespace {

// A path is put together from the rows of a table and free texts, and so are its forms. The whole input is a
// path too.
void paths(Input input) {
  static const CleanMachine machine;
  static const bool forced = (set_Value(force_hklm.Path, L"1"), load_ForceHKLM(), is_ForceHKLM());
  static const auto table = read_Lines(std::filesystem::path(SOURCE_FOLDER "/fuzz/paths.txt").wstring());
  require(forced, "the switch is on");
  auto other = Input(input).take_Text();
  while (contains(other, LR"(\\\)"))
    replace_All(other, LR"(\\\)", LR"(\\)");
  std::wstring path, read, written;
  while (input.has_More()) {
    auto forms = split(table[input.take<std::uint8_t>() % table.size()], L' ');
    if (forms.size() != 3) {
      auto free = input.take_Text();
      std::ranges::replace_if(
          free,
          [](wchar_t letter) {
            return contains(LR"(\H)", {&letter, 1});
          },
          L'.');
      forms.assign(3, free + LR"(.\)");
    }
    path += forms[0];
    read += forms[1];
    written += forms[2];
  }
  for (auto* const normalise : {normalised_ForRead, normalised_ForWrite}) {
    require(normalise(path) == (normalise == normalised_ForRead ? read : written), "a path has its form");
    other = normalise(other);
    require(normalise(other) == other && !contains(other, LR"(\\)"),
            "a form has no doubled backslashes and stays as it is");
  }
}

// How stored bytes read. A text may have to end with its terminators, or else its last letters count as
// these.
template <typename Letter, typename Conversion>
RegistryValue value_Of(DWORD type, std::string_view bytes, bool needs_terminators, Conversion to_text) {
  const auto end_size = (type == REG_MULTI_SZ ? 2 : 1) * sizeof(Letter);
  const auto content = std::as_bytes(std::span(bytes));
  if (type == REG_BINARY)
    return std::vector<std::byte>(content.begin(), content.end());
  if (type == REG_DWORD && bytes.size() >= sizeof(DWORD))
    return std::to_wstring(*reinterpret_cast<const std::int32_t*>(bytes.data()));
  const bool is_whole = bytes.size() % sizeof(Letter) == 0 && bytes.ends_with(std::string(end_size, '\0'));
  const bool is_text = type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
  return is_text && bytes.size() >= end_size && (is_whole || !needs_terminators)
             ? to_text(bytes.substr(0, bytes.size() - end_size))
             : std::wstring();
}

std::wstring from_Wide(std::string_view bytes) {
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  std::memcpy(text.data(), bytes.data(), bytes.size());
  return text;
}

void registry(Input input) {
  static const CleanMachine machine;
  static const std::wstring path = norvak + L"doexit",
                            copy = norvak + L"copy";  // reads of the first one are never remembered
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
  // The emulation's script host counts the texts of a list, makes an array of them and counts again as it
  // fills that; behind a list without its end it then finds what it has itself allocated, and writes beyond
  // the array.
  const bool is_Endless = type == REG_MULTI_SZ &&
                          (stored.size() % sizeof(wchar_t) != 0 || !stored.ends_with(std::string(4, '\0')));
  require(is_Endless || regread(path) == value || is_Empty(value), "a full read gives the same");

  const auto entry = read_Entry(place);
  require(entry == RegistryEntry{L"doexit", type, value_Of<wchar_t>(type, stored, true, from_Wide)},
          "the value has the form of its type");
  if (is_Empty(entry.Value))
    return;
  require(write_Value(find_Place(copy), type, entry.Value), "it can be written again");
  require(read_Entry(find_Place(copy)).Value == entry.Value, "the written copy reads the same");
}

std::wstring read_IniText(const std::wstring& section, const std::wstring& key, const std::wstring& file) {
  static std::array<wchar_t, 0x10000> text;
  const auto length = GetPrivateProfileStringW(section.c_str(), key.c_str(), L"(none)", text.data(),
                                               static_cast<DWORD>(text.size()), file.c_str());
  return {text.data(), length};
}

void ini(Input input) {
  static const CleanMachine machine;
  static const bool arranged =
      (set_Value(use_ini.Path, L"1"), set_Value(install_folder.Path, test_folder), find_IniFiles(), true);
  static const std::wstring file = test_folder + L"global.ini", section = L"Software\\Norvak";
  const auto path = norvak + from_Ansi(to_Ansi(input.take_Text()));
  const auto value = from_Ansi(to_Ansi(input.take_Text()));
  if (!arranged || !is_KeptInIni(SettingPath(path)))
    return;
  const auto place = find_Place(path);
  const auto form = input.take<std::uint8_t>();
  const std::wstring old = form % 2 != 0 ? L"old" : L"";
  const std::wstring torn[] = {L"", L"[torn\r\n=\r\n", L"[torn]]\n\n=a\n", L";\x1A\r\n[\r\n",
                               L"a=1\r\n\t[a\r\n"};
  Lines others;
  auto content = torn[form / 2 % std::size(torn)] + L"[" + section + L"]\r\n";
  while (input.has_More()) {
    auto name = to_Lower(input.take_Text());
    std::erase_if(name, [](wchar_t letter) { return letter >= 0x80 || std::iswalnum(letter) == 0; });
    if (name.empty() || equals_IgnoringCase(name, place.Name))
      continue;
    others.push_back(name);
    content.append(name).append(L"=").append(name).append(L"\r\n");
  }
  const auto* const letters = reinterpret_cast<const char*>(content.data());
  const bool is_wide = form / 16 % 2 != 0;
  std::ofstream(std::filesystem::path(file), std::ios::binary)
      << (is_wide ? "\xFF\xFE" + std::string(letters, 2 * content.size()) : to_Ansi(content));
  if (!old.empty())
    WritePrivateProfileStringW(place.Key.c_str(), place.Name.c_str(), old.c_str(), file.c_str());
  WritePrivateProfileStringW(nullptr, nullptr, nullptr, file.c_str());
  const auto require_Text = [&](const std::wstring& text) {
    require(read_Ini(SettingPath(path)).Text == text, "a value reads as it was written");
    for (const auto& name : others)
      require(read_IniText(section, name, file) == name, "every other value is as it was");
  };
  require_Text(old);
  const bool can_write = value.find_first_of(std::wstring_view(L"\r\n\0", 3)) == std::wstring::npos;
  const auto now = can_write ? value : old;
  require(write_Ini(SettingPath(path), value) == can_write, "a value of one line is written");
  require_Text(now);
  require(delete_FromIni(SettingPath(path)) == !now.empty(), "it is deleted");
  require_Text(L"");
}

}  // namespace

const std::vector<Target>& settings_Targets() {
  static const std::vector<Target> targets{
      {"paths", paths, 10000, false,
       words(R"(hklm\|HKCU|hkcu\|hlcr\|software\|Software\|Sofware\|System\|\\|Norvak\pdf\\to|\|)"
             "HKEY_CURRENT_USER|HKEY_LOCAL_MACHINE|\xFF")},
      {"registry", registry, 3000, false, {std::string("\0", 1), std::string("\0\0", 2), "a"}},
      {"ini", ini, 400, false,
       words("\r\n|[|]|=|;|\"|'| |\xFF|pdf\\path|utest|CryptDrive|installdir|useini|Microsoft\\Office|a")}};
  return targets;
}
