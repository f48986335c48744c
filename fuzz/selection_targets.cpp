// The targets for a right-click: the drop list that Explorer hands over, and the menu that it gets.
#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <array>
#include <cstring>
#include <functional>

#include "base/text.h"
#include "fuzz/machine_target.h"
#include "selection/drop_list.h"
#include "settings/settings.h"
#include "shellext/shell_ext.h"
#include "tests/explorer.h"

namespace {

// Memory behind whose end no access is allowed; an input's block is put right before that.
struct GuardedMemory {
  static constexpr std::size_t size = 0x10000, page = 0x1000;
  char* const End = static_cast<char*>(VirtualAlloc(nullptr, size, MEM_COMMIT, PAGE_READWRITE)) + size - page;
  GuardedMemory() {
    DWORD before = 0;
    VirtualProtect(End, page, PAGE_NOACCESS, &before);
  }
  std::span<char> last(std::size_t length) const { return {End - length, length}; }
};

constexpr std::size_t ansi_room = 500;  // for a name in the code page with its terminator

void read_DropLists(Input input) {
  static const GuardedMemory memory;
  const auto block = memory.last(input.rest().size());
  std::ranges::copy(input.rest(), block.begin());
  Lines expected;
  DROPFILES header{};
  bool is_whole = false;
  if (block.size() >= sizeof header) {
    std::memcpy(&header, block.data(), sizeof header);
    const auto list = block.subspan(std::min<std::size_t>(header.pFiles, block.size()));
    const auto take = [&]<typename Letter>(const DecodedNames<Letter>& names, auto to_text) {
      std::ranges::transform(names.Names, std::back_inserter(expected), to_text);
      is_whole = names.IsWhole;
    };
    const auto whole_Name = [](const std::string& name) {
      return name.size() < ansi_room ? from_Ansi(name) : std::wstring();
    };
    header.fWide ? take(DecodedNames<wchar_t>(list), std::identity())
                 : take(DecodedNames<char>(list), whole_Name);
  }
  require(std::ranges::equal(read_DropNames(block).Names, expected),
          "the names are those that end within the block");
  if (!is_whole)
    return;
  // The shell's own routine reads up to the end of the list, wherever that is.
  const auto global = make_Block({block.data(), block.size()});
  require(std::ranges::equal(read_DropList(global).Names, expected), "a block of memory gives the same");
  const auto drop = static_cast<HDROP>(global);
  require(DragQueryFileW(drop, ~0U, nullptr, 0) == expected.size(), "the shell counts as many");
  for (UINT index = 0; index < expected.size(); ++index) {
    std::wstring name(DragQueryFileW(drop, index, nullptr, 0), L'\0');
    DragQueryFileW(drop, index, name.data(), static_cast<UINT>(name.size() + 1));
    require(name == expected[index] || (header.fWide == 0 && expected[index].empty()),
            "the shell gives the same name");
  }
  GlobalFree(global);
}

struct MenuMachine : CleanMachine {
  MenuMachine() {
    install_Suite();
    set_Value(multi_signer.Path, L"1");
    for (const auto* file : {L"a.pdf", L"b.txt", L"c.p7m", L"d.lnk", LR"(folder\e.jpg)"})
      make_File(test_folder + file);
    record_Starts();
  }
};

// The files that an input chooses by a bit each.
constexpr std::array files{L"folder", L"a.pdf",           L"b.txt",   L"c.p7m",
                           L"d.lnk",  LR"(folder\e.jpg)", L"none.xml"};

void choose_Files(const ComPtr<IContextMenu>& object, unsigned chosen) {
  Lines paths;
  for (std::size_t index = 0; index < files.size(); ++index)
    if ((chosen >> index) % 2 != 0)
      paths.push_back(test_folder + files[index]);
  select(object, paths);
}

// The lines without their marks of access keys, no two of which are one letter.
Lines plain_Lines(Lines lines) {
  std::wstring letters;
  for (auto& line : lines) {
    const auto mark = line.find(L'&');
    if (mark == std::wstring::npos)
      continue;
    line.erase(mark, 1);
    letters += to_Lower(line.at(mark));
    require(letters.find(letters.back()) == letters.size() - 1, "no two items share an access key");
  }
  return lines;
}

// What is offered in a usual menu, which has the identifiers from 1 on.
Lines offered_Captions(const ComPtr<IContextMenu>& object) {
  auto captions = plain_Lines(offered(object));
  std::erase(captions, L"-");
  for (auto& caption : captions) {
    caption.erase(0, caption.find(L' ') + 1);
    replace_All(caption, L" *", L"");
  }
  return captions;
}

// The platform appends lines whose position is behind the end, and gives these no mark.
Lines expect_Lines(Lines lines, UINT position, UINT first_id, const Lines& captions) {
  const auto insert = [&](const std::wstring& line) {
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(position, lines.size())),
                 line);
    ++position;
  };
  for (const auto& caption : captions) {
    const bool has_mark = caption == L"Create PDF Signature" && position <= lines.size();
    insert(std::to_wstring(first_id++) + L" " + caption + (has_mark ? L" *" : L""));
  }
  if (!captions.empty())
    insert(L"-");
  return lines;
}

// The items of the last menu. They can be asked for until the next menu.
struct Offer {
  UINT FirstId = 0;
  Lines Captions;

  bool has(UINT id) const { return id - FirstId < Captions.size(); }
};

void ask_ForText(IContextMenu* object, const Offer& offer, Input& input) {
  static const GuardedMemory memory;
  const auto choice = input.take<std::uint8_t>();
  const auto flags = choice % 8 == 7 ? input.take<UINT>() : choice % 8;
  const UINT id = choice < 0x80 ? offer.FirstId + choice / 8 % 8 : input.take<UINT>();
  const UINT room = input.take<std::uint8_t>() % 2 != 0 ? input.take<UINT>() : input.take<std::uint8_t>();
  std::wstring text;
  if (offer.has(id) && (flags & ~GCS_UNICODE) <= GCS_VALIDATEA) {
    const auto& caption = offer.Captions[id - offer.FirstId];
    const auto verb = L"(GCS_VERB)MENUITEM" + std::to_wstring(static_cast<long>(id + 1));
    text = std::array{verb, caption, L"(GCS_VALIDATE)" + caption}[flags & ~GCS_UNICODE];
  }
  const std::size_t size = (flags & GCS_UNICODE) != 0 ? 2 : 1;
  const auto length = std::min<std::size_t>(room, 300);
  const auto buffer = memory.last((length + 1) * size + 16);  // one letter behind the buffer may be written
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
    return;  // it would carry out an action
  command.cbSize = sizeof command;
  command.lpVerb = reinterpret_cast<const char*>(static_cast<ULONG_PTR>(verb));
  command.nShow = input.take<int>();
  require(object->InvokeCommand(&command) == S_OK, "it always succeeds");
  require(take_Starts().empty(), "nothing starts for what is no item");
}

void menu(Input input) {
  static const MenuMachine machine;
  const ComPtr<IContextMenu> object(ShellExt::create());
  const auto shift = input.rest().size();  // so that most changes of an input choose other files
  choose_Files(object, (input.take<std::uint8_t>() + shift) % 128U);
  const auto captions = offered_Captions(object);
  Offer offer{1, captions};
  while (input.has_More()) {
    const Menu menu;
    const auto others = input.take<std::uint8_t>() % 8U;
    for (UINT id = 1; id <= others; ++id)
      AppendMenuW(menu.Handle, id % 3 == 0 ? MF_SEPARATOR : MF_STRING, 0x7000 + id, L"other");
    const auto before = menu.lines();
    const auto form = input.take<std::uint8_t>();
    const UINT position = form % 2 != 0 ? input.take<UINT>() : input.take<std::uint8_t>() % 9U;
    const UINT first_id = form / 2 % 2 != 0 ? input.take<UINT>() : input.take<std::uint16_t>() % 0x7000;
    const UINT flags = form / 4 % 2 != 0 ? input.take<UINT>() : UINT{CMF_NORMAL};
    const bool is_wanted = (flags & 0xF) == 0 || (flags & (CMF_VERBSONLY | CMF_EXPLORE)) != 0;
    if (is_wanted)
      offer = {first_id, captions};
    const auto count = object->QueryContextMenu(menu.Handle, position, first_id, input.take<UINT>(), flags);
    require(count == (is_wanted ? std::ssize(captions) : 0),
            "the same items come into every menu that wants any");
    require(
        plain_Lines(menu.lines()) == expect_Lines(before, position, first_id, is_wanted ? captions : Lines()),
        "the items have consecutive identifiers and one separator, and the other lines stay");
    ask_ForText(object.Get(), offer, input);
    pick(object.Get(), offer, input);
  }
}

// The first right-click of a process reads all settings.
void click_First(Input input) {
  const MenuMachine machine;
  const bool is_usual = !input.has_More();
  while (input.has_More()) {
    const auto* setting = all_settings[input.take<std::uint8_t>() % all_settings.size()];
    const DWORD type = input.take<std::uint8_t>() % 13;
    store(setting->Path, type, input.take_Bytes());
  }
  constexpr unsigned all_files = 0x7E;
  const ComPtr<IContextMenu> object(ShellExt::create());
  const Lines captions{L"Open with Norvak", L"Open with quill!", L"Create PDF Signature",
                       L"Validate PKCS7 Signature"};
  choose_Files(object, all_files);
  const auto shown = offered_Captions(object);
  std::size_t count = 0;
  for (const auto& caption : captions)
    count += count < shown.size() && shown[count] == caption;
  require(shown.size() == count, "some of the items are offered, in their order");
  require(!is_usual || count == captions.size(), "all items are offered without further settings");
}

}  // namespace

const std::vector<Target>& selection_Targets() {
  static const std::vector<Target> targets{
      {"drop_list",
       read_DropLists,
       15000,
       false,
       {std::string("\0", 1), std::string("\0\0", 2), "c:\\", "\xD8"}},
      {"menu", menu, 1500},
      {"first_click", click_First, 20, true, {std::string("1\0\0\0", 4), "c:\\", "\xFF"}}};
  return targets;
}
