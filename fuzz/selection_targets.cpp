// The targets of a right-click: the drop list that Explorer hands over, and the menu that it gets.
#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <array>
#include <cstring>
#include <utility>

#include "fuzz/machine_target.h"
#include "shellext/drop_list.h"
#include "shellext/shell_ext.h"
#include "support/settings.h"
#include "support/text.h"
#include "tests/explorer.h"

namespace {

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

constexpr const wchar_t* others_Caption = L"other";

struct Item {
  bool IsSeparator;
  UINT Id;
  std::wstring Caption;

  bool operator==(const Item&) const = default;
};

std::vector<Item> items_Of(const Menu& menu) {
  std::vector<Item> items;
  for (UINT position = 0; position < static_cast<UINT>(GetMenuItemCount(menu.Handle)); ++position) {
    std::array<wchar_t, 100> caption{};
    GetMenuStringW(menu.Handle, position, caption.data(), 100, MF_BYPOSITION);
    const auto info = menu.item(position);
    const bool is_separator = (info.fType & MFT_SEPARATOR) != 0;
    items.push_back({is_separator, is_separator ? 0 : info.wID, caption.data()});
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
  for (auto chosen = input.take<std::uint8_t>(); const auto* file : files)
    if (std::exchange(chosen, chosen / 2) % 2 != 0)
      paths.push_back(test_folder + file);
  select(object, paths);
  Offer offer;
  while (input.has_More()) {
    const Menu menu;
    const auto others = input.take<std::uint8_t>() % 8U;
    for (UINT id = 1; id <= others; ++id)
      AppendMenuW(menu.Handle, id % 3 == 0 ? MF_SEPARATOR : MF_STRING, 0x7000 + id, others_Caption);
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
    auto items = items_Of(menu);
    Lines captions(count);
    for (auto& item : items) {
      if (item.IsSeparator || item.Caption == others_Caption)
        continue;
      require(item.Id - first_id < count && !item.Caption.empty(), "an item has a caption and an identifier");
      captions[item.Id - first_id] = std::exchange(item.Caption, {});
    }
    require(items == expect_Items(before, position, first_id, count),
            "items of consecutive identifiers and one separator, and the others as they were");
    if (is_wanted)
      offer = {first_id, captions};
    ask_ForText(object.Get(), offer, input);
    pick(object.Get(), offer, input);
  }
}

void menu(Input input) {
  static const MenuMachine machine;
  use_Menu(input);
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

}  // namespace

const std::vector<Target>& selection_Targets() {
  static const std::vector<Target> targets{
      {"drop_list", drop_list, 15000, false, {std::string("\0", 1), std::string("\0\0", 2), "c:\\", "\xD8"}},
      {"menu", menu, 1500},
      {"first_click", first_click, 20, true, {std::string("1\0\0\0", 4), "c:\\", "\xFF"}}};
  return targets;
}
