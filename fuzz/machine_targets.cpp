// The targets that run on the platform; each process arranges the machine once.
#include "fuzz/target.h"

#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

#include "launcher/translation.h"
#include "shellext/drop_list.h"
#include "shellext/shell_ext.h"
#include "support/diagnostic_log.h"
#include "support/ini_settings.h"
#include "support/registry.h"
#include "support/registry_keys.h"
#include "support/registry_path.h"
#include "support/settings.h"
#include "support/text.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

// A clean machine for the whole run.
struct CleanMachine : Machine {
  void TestBody() override {}
};

// Memory that ends where no access is allowed; an input's block is put at its end.
struct GuardedMemory {
  static constexpr std::size_t size = 0x10000, page = 0x1000;
  char* const End = static_cast<char*>(VirtualAlloc(nullptr, size, MEM_COMMIT, PAGE_READWRITE)) + size - page;
  GuardedMemory() {
    DWORD before = 0;
    VirtualProtect(End, page, PAGE_NOACCESS, &before);
  }
  std::span<char> last(std::size_t length) const { return {End - length, length}; }
};

template <typename Letter>
bool read_Names(std::span<const char> bytes, std::size_t at, Lines& names) {
  for (std::basic_string<Letter> name;; at += sizeof(Letter)) {
    if (at > bytes.size() || bytes.size() - at < sizeof(Letter))
      return false;
    Letter letter{};
    std::memcpy(&letter, &bytes[at], sizeof letter);
    if (letter != 0) {
      name += letter;
      continue;
    }
    const bool is_end = name.empty() && !names.empty();
    name.resize(std::min<std::size_t>(name.size(), 499));
    if (is_end)
      return true;
    if constexpr (sizeof(Letter) == 1)
      names.push_back(from_Ansi(name));
    else
      names.push_back(through_Ansi(name));
    name.clear();
  }
}

void drop_list(Input input) {
  static const GuardedMemory memory;
  const auto block = memory.last(input.rest().size());
  std::ranges::copy(input.rest(), block.begin());
  Lines expected;
  DROPFILES header{};
  bool is_whole = false;
  if (block.size() >= sizeof header) {
    std::memcpy(&header, block.data(), sizeof header);
    is_whole = header.fWide ? read_Names<wchar_t>(block, header.pFiles, expected)
                            : read_Names<char>(block, header.pFiles, expected);
  }
  require(std::ranges::equal(read_DropNames(block).Names, expected),
          "the names are those that end within the block");
  if (!is_whole)
    return;
  // The shell's own routine reads up to the end of the list, wherever that is.
  const auto global = make_Block({block.data(), block.size()});
  require(std::ranges::equal(read_DropList(global).Names, expected), "a block of memory gives the same");
  const auto drop = static_cast<HDROP>(global);
  require(DragQueryFileA(drop, ~0U, nullptr, 0) == expected.size(), "the shell counts as many");
  for (UINT index = 0; index < expected.size(); ++index) {
    std::array<char, 500> buffer{};
    DragQueryFileA(drop, index, buffer.data(), buffer.size());
    require(from_Ansi(buffer.data()) == expected[index], "the shell gives the same name");
  }
  GlobalFree(global);
}

using Replacements = std::initializer_list<std::pair<const wchar_t*, const wchar_t*>>;

std::wstring replaced(std::wstring text, Replacements steps) {
  for (const auto& [from, to] : steps)
    replace_All(text, from, to);
  return text;
}

constexpr Replacements misspelling{{LR"(Sofware\)", LR"(Software\)"}};
constexpr Replacements names{{LR"(hklm\)", LR"(HKLM\)"},         {LR"(hkcu\)", LR"(HKCU\)"},
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
  auto result = replaced(replaced(path, first), names);
  if (contains(result, L"HKCU") || contains(result, L"HKEY_CURRENT_USER"))
    result = replaced(result, to_machine);
  return replaced(replaced(result, last), single);
}

void paths(Input input) {
  static const CleanMachine machine;
  static const bool forced = (set_Value(force_hklm.Path, L"1"), is_ForceHKLM());
  require(forced, "the switch is on");
  const auto text = input.take_Text(), other = input.take_Text();
  auto read = text, write = text, text_write = text;
  normalise_ForRead(read);
  normalise_ForWrite(write);
  normalise_ForTextWrite(text_write);
  require(read == normalised(text, {}, short_root), "a path is read in this form");
  require(write == normalised(text, misspelling, {}), "a number is written in this form");
  require(text_write == normalised(text, misspelling, text_repair), "a text is written in this form");

  const auto file = choose_LogFile(text, other);
  const auto stem = [](const std::wstring& name) { return to_Lower(trim(name.substr(0, name.find(L'.')))); };
  require(file == choose_LogFile(L" " + stem(text) + L" .exe", stem(other)),
          "the stem alone names a log file");
  require(file.empty() || file.ends_with(L".log"), "a log file is one");
}

int started_Programs = 0;

BOOL WINAPI start_Nothing(LPCSTR, LPSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID,
                          LPCSTR, LPSTARTUPINFOA, LPPROCESS_INFORMATION) {
  ++started_Programs;
  return FALSE;
}

struct MenuMachine : CleanMachine {
  MenuMachine() {
    install_Suite();
    set_Value(multi_signer.Path, L"1");
    for (const auto* file : {L"a.pdf", L"b.txt", L"c.p7m", L"d.lnk", LR"(folder\e.jpg)"})
      make_File(test_folder + file);
    patch_Import("CreateProcessA", reinterpret_cast<void*>(start_Nothing));
  }
};

struct Item {
  bool IsSeparator;
  UINT Id;
  std::wstring Caption;
};

std::vector<Item> items_Of(const Menu& menu) {
  std::vector<Item> items;
  for (UINT position = 0; position < static_cast<UINT>(GetMenuItemCount(menu.Handle)); ++position) {
    std::array<wchar_t, 100> caption{};
    GetMenuStringW(menu.Handle, position, caption.data(), 100, MF_BYPOSITION);
    const auto info = menu.item(position);
    items.push_back({(info.fType & MFT_SEPARATOR) != 0, info.wID, caption.data()});
  }
  return items;
}

// Items behind the end are appended, as the platform does it.
std::vector<Item> expect_Items(std::vector<Item> items, UINT position, UINT first_id, UINT count) {
  for (UINT index = 0; index <= count && count > 0; ++index, ++position)
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(position, items.size())),
                 {index == count, index == count ? 0 : first_id + index, {}});
  return items;
}

// What the last menu had: it answers until the next one.
struct Offer {
  UINT FirstId = 0;
  Lines Captions = {};

  bool has(UINT id) const { return id - FirstId < Captions.size(); }
};

void ask_ForText(IContextMenu* object, const Offer& offer, Input& input) {
  static const GuardedMemory memory;
  const auto choice = input.take<std::uint8_t>();
  const auto flags = choice % 8 == 7 ? input.take<UINT>() : choice % 8;
  const UINT id = choice < 0x80 ? offer.FirstId + choice / 8 % 8 : input.take<UINT>();
  const UINT room = input.take<std::uint8_t>() % 2 != 0 ? input.take<UINT>() : input.take<std::uint8_t>();
  std::wstring text;
  if (offer.has(id)) {
    const auto& caption = offer.Captions[id - offer.FirstId];
    if (flags == GCS_VERBA || flags == GCS_VERBW)
      text = L"(GCS_VERB)MENUITEM" + std::to_wstring(static_cast<long>(id + 1));
    if (flags == GCS_HELPTEXTA || flags == GCS_HELPTEXTW)
      text = caption;
    if (flags == GCS_VALIDATEA || flags == GCS_VALIDATEW)
      text = L"(GCS_VALIDATE)" + caption;
  }
  const std::size_t size = (flags & GCS_UNICODE) != 0 ? 2 : 1;
  const auto length = std::min<std::size_t>(room, 300);
  const auto buffer =
      memory.last((length + 1) * size + 16);  // the one letter behind the buffer may be written
  std::ranges::fill(buffer, '?');
  std::string expected(buffer.begin(), buffer.end());
  if (!text.empty() && room != 0) {
    text = text.substr(0, length) + L'\0';
    for (std::size_t index = 0; index < text.size(); ++index)
      std::memcpy(&expected[16 + index * size], &text[index], size);
  }
  require(object->GetCommandString(id, flags, nullptr, buffer.data() + 16, room) == S_OK,
          "it always succeeds");
  require(std::ranges::equal(buffer, expected), "the text with its terminator, and nothing else, is written");
}

void pick(IContextMenu* object, const Offer& offer, Input& input) {
  CMINVOKECOMMANDINFO command{};
  const UINT verb = input.take<UINT>() & (input.take<std::uint8_t>() % 2 != 0 ? 0xFF : ~0U);
  if ((verb < offer.Captions.size() || offer.has(verb)) && (verb & 0x0FFFF000) == 0)
    return;  // an action
  command.cbSize = sizeof command;
  command.lpVerb = reinterpret_cast<const char*>(static_cast<ULONG_PTR>(verb));
  command.nShow = input.take<int>();
  require(object->InvokeCommand(&command) == S_OK, "it always succeeds");
  require(started_Programs == 0, "nothing starts for what is no item");
}

void use_Menu(Input input) {
  const ComPtr<IContextMenu> object(ShellExt::create());
  Lines paths;
  const wchar_t* const files[] = {L"folder", L"a.pdf",         L"b.txt",   L"c.p7m",
                                  L"d.lnk",  L"folder\\e.jpg", L"none.xml"};
  for (const auto chosen = input.take<std::uint8_t>(); const auto* file : files)
    if ((chosen >> (std::ranges::find(files, file) - files) & 1) != 0)
      paths.push_back(test_folder + file);
  select(object, paths);
  Offer offer;
  while (input.has_More()) {
    const Menu menu;
    const auto others = input.take<std::uint8_t>() % 8U;
    for (UINT id = 1; id <= others; ++id)
      AppendMenuW(menu.Handle, id % 3 == 0 ? MF_SEPARATOR : MF_STRING, 0x7000 + id, L"other");
    const auto before = items_Of(menu);
    const auto form = input.take<std::uint8_t>();
    const UINT position = form % 2 != 0 ? input.take<UINT>() : input.take<std::uint8_t>() % 9U;
    const UINT first_id = form / 2 % 2 != 0 ? input.take<UINT>() : input.take<std::uint16_t>() % 0x7000;
    const UINT flags = form / 4 % 2 != 0 ? input.take<UINT>() : UINT{CMF_NORMAL};
    const auto result = object->QueryContextMenu(menu.Handle, position, first_id, input.take<UINT>(), flags);
    require(result >= 0 && result <= 5, "at most five items");
    const auto count = static_cast<UINT>(result);
    const bool is_wanted = (flags & 0xF) == 0 || (flags & (CMF_VERBSONLY | CMF_EXPLORE)) != 0;
    require(is_wanted || count == 0, "no items where none are wanted");
    const auto items = items_Of(menu);
    const auto expected = expect_Items(before, position, first_id, count);
    require(std::ranges::equal(items, expected,
                               [](const auto& item, const auto& other) {
                                 return item.IsSeparator == other.IsSeparator &&
                                        (item.IsSeparator || item.Id == other.Id) &&
                                        (item.IsSeparator || !item.Caption.empty());
                               }),
            "items of consecutive identifiers and one separator, and the others as they were");
    if (is_wanted) {
      offer = {first_id, Lines(count)};
      for (std::size_t index = 0; index < items.size(); ++index)
        if (!expected[index].IsSeparator && expected[index].Caption.empty())
          offer.Captions[expected[index].Id - first_id] = items[index].Caption;
    }
    ask_ForText(object.Get(), offer, input);
    pick(object.Get(), offer, input);
  }
}

void menu(Input input) {
  static const MenuMachine machine;
  use_Menu(input);
}

// The stored bytes as they are: the platform looks at a letter behind a text without terminator.
void store(const std::wstring& path, DWORD type, std::string bytes) {
  const auto place = find_Place(path);
  const auto size = static_cast<DWORD>(bytes.size());
  bytes += "????";
  RegSetKeyValueW(place.Root, place.Key.c_str(), place.Name.c_str(), type, bytes.data(), size);
}

// The first right-click of a process, where all settings are read.
void first_click(Input input) {
  const MenuMachine machine;
  while (input.has_More()) {
    const auto* setting = all_settings[input.take<std::uint8_t>() % all_settings.size()];
    const DWORD type = input.take<std::uint8_t>() % 13;
    store(setting->Path, type, input.take_Bytes());
  }
  constexpr std::uint8_t click[] = {0x7E, 0, 0, 0, 1, 0, 0, 0, 0, 0};
  use_Menu(Input(click));
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

// A value of any kind as an answer.
_variant_t take_Answer(Input& input) {
  const auto kind = input.take<std::uint8_t>() % 24;
  if (kind == 0)
    throw HRESULT{input.take<HRESULT>() | static_cast<HRESULT>(0x80000000)};
  if (kind < 8)
    return text_Argument(input.take_Text());
  _variant_t answer;
  if (kind < 20) {
    static constexpr VARTYPE types[] = {VT_EMPTY, VT_NULL, VT_I2,    VT_I4,   VT_R4, VT_R8,
                                        VT_CY,    VT_DATE, VT_ERROR, VT_BOOL, VT_I8, VT_BSTR};
    if (types[kind - 8] != VT_BSTR)
      answer.llVal = input.take<std::int64_t>();
    answer.vt = types[kind - 8];
  } else {
    static constexpr VARTYPE types[] = {VT_BSTR, VT_UI1, VT_VARIANT, VT_DISPATCH};
    answer.parray = SafeArrayCreateVector(types[kind - 20], 0, input.take<std::uint8_t>());
    answer.vt = static_cast<VARTYPE>(VT_ARRAY | types[kind - 20]);
  }
  return answer;
}

// The text of an answer; nothing for a failure.
std::optional<std::wstring> text_OfAnswer(Input input) {
  try {
    auto answer = take_Answer(input);
    VARIANT text{};
    if (FAILED(VariantChangeType(&text, static_cast<VARIANT*>(&answer), 0, VT_BSTR)))
      return std::wstring();
    const _variant_t owner(text, false);
    return std::wstring(text.bstrVal, SysStringLen(text.bstrVal));
  } catch (HRESULT) {
    return {};
  }
}

void translation(Input input) {
  static const CleanMachine machine;
  static Input answer({});
  static const Component translator(L"NorvakTranslator.Language", {{L"translateit", [](const Arguments&) {
                                                                      auto copied = answer;
                                                                      return take_Answer(copied);
                                                                    }}});
  static const Replacements breaks{{L"@@vbcrlf@@", L"\r\n"}};
  static std::uint32_t count = 0;
  const auto text = input.take_Text() + std::to_wstring(++count);  // the last one is remembered
  answer = input;
  const auto given = text_OfAnswer(input);
  const auto expected = replaced(given && !given->empty() ? *given : text, breaks);
  require(translate_String(text) == expected, "the answer where it is a text, else the text");
  answer = Input({});
  require(translate_String(text) == expected, "and the same once more");
}

void log(Input input) {
  static const CleanMachine machine;
  static std::vector<std::wstring> lines;
  static const Log component;
  static const bool nested = (
      component->Table[L"logge"] = [](const Arguments& arguments) -> _variant_t {
        debug_Log(L"a message about a message");
        const auto& line = arguments.at(0);
        lines.emplace_back(line.bstrVal, SysStringLen(line.bstrVal));
        return {};
      },
      true);
  lines.clear();
  Lines expected;
  static std::wstring last;
  while (nested && input.has_More()) {
    const auto kind = input.take<std::uint8_t>() % 3;
    auto message = input.take_Text();
    const auto number = input.take<std::int32_t>();
    if (kind == 0)
      debug_Log(message);
    else if (kind == 1)
      debug_Log(message, message);
    else
      debug_Log(message, static_cast<long>(number));
    message += kind == 1 ? message : kind == 2 ? std::to_wstring(number) : L"";
    const auto lower = to_Lower(trim(message));
    const bool is_noise = lower == L"set_ ready" || lower == L"set_" || lower == L"info ready" ||
                          contains(lower, L"unloading") || contains(lower, L"is_servermode") ||
                          contains(lower, L"is not system (lsass) process") ||
                          contains(lower, L"readerlist length (in characters) is:");
    if (message.empty() || message == last || is_noise)
      continue;
    last = message;
    expected.push_back(message);
  }
  require(lines.size() == expected.size(), "each message that is none of the noise is one line");
  for (std::size_t index = 0; index < lines.size(); ++index)
    require(
        lines[index].ends_with(L": " + expected[index]) && lines[index].size() < expected[index].size() + 300,
        "a line is its header and its message");
}

}  // namespace

const std::vector<Target>& machine_Targets() {
  static const std::vector<std::string> path_words{"hklm\\",
                                                   "HKCU",
                                                   "hkcu\\",
                                                   "hlcr\\",
                                                   "software\\",
                                                   "Software\\",
                                                   "Sofware\\",
                                                   "System\\",
                                                   "\\\\",
                                                   "Norvak\\pdf\\\\to",
                                                   "\\",
                                                   "HKEY_CURRENT_USER",
                                                   "HKEY_LOCAL_MACHINE",
                                                   "\xFF",
                                                   "saver",
                                                   "pkcs11",
                                                   "setcredentials",
                                                   "creator",
                                                   ".",
                                                   " "};
  static const std::vector<std::string> ini_words{"\r\n",
                                                  "[",
                                                  "]",
                                                  "=",
                                                  ";",
                                                  "\"",
                                                  "'",
                                                  " ",
                                                  "\xFF",
                                                  "Software\\Norvak",
                                                  "[Software\\Norvak]\r\n",
                                                  "\xFF\xFE",
                                                  "\xEF\xBB\xBF",
                                                  "a=1\r\n",
                                                  "\n"};
  static const std::vector<std::string> texts{"\xFF", "@@vbcrlf@@", "\r\n", "\t",         "\xFE\x3D\xD8",
                                              " ",    "Unloading",  "set_", " INFO Ready"};
  static const std::vector<Target> targets{
      {"drop_list", drop_list, 15000, false, {std::string("\0", 1), std::string("\0\0", 2), "c:\\", "\xD8"}},
      {"paths", paths, 10000, false, path_words},
      {"menu", menu, 1500},
      {"registry", registry, 3000, false, {std::string("\0", 1), std::string("\0\0", 2), "a"}},
      {"first_click", first_click, 20, true, {std::string("1\0\0\0", 4), "c:\\", "\xFF"}},
      {"ini", ini, 400, false, ini_words},
      {"translation", translation, 5000, false, texts},
      {"log", log, 3000, false, texts},
  };
  return targets;
}
