#include "menu/composition.h"

#include <wrl/client.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "base/account.h"
#include "base/boundary.h"
#include "base/log.h"
#include "base/process_values.h"
#include "launcher/action_table.h"
#include "launcher/translation.h"
#include "menu/access_keys.h"
#include "menu/insertion.h"
#include "selection/selection.h"
#include "settings/registry.h"

namespace {

// Translated with their first use; kept for the life of the process once the translator has answered.
constinit std::array<Settled<std::wstring>, menu_items.size()> captions;

std::wstring caption_Of(const MenuItem& item, Settled<std::wstring>& known) {
  if (auto caption = known.get())
    return *std::move(caption);
  auto translation = translate(item.Caption);
  return translation.IsSettled ? known.settle(std::move(translation.Text)) : translation.Text;
}

bool is_MenuWanted(UINT flags) {
  constexpr UINT kinds = CMF_DEFAULTONLY | CMF_VERBSONLY | CMF_EXPLORE | CMF_NOVERBS;
  return (flags & kinds) == CMF_NORMAL || (flags & CMF_VERBSONLY) != 0 || (flags & CMF_EXPLORE) != 0;
}

// The part of the shell's menu that is being filled.
struct Block {
  HMENU Menu;
  UINT Position;
  UINT Command;
  UINT Record = 0;
};

struct OfferedItem {
  UINT Position;
  UINT Command;
  UINT CheckBitmap;
  std::wstring Caption;
};

OfferedItem offer(const MenuItem& item, Settled<std::wstring>& known_caption, const Block& block) {
  auto caption = caption_Of(item, known_caption);
  OfferedItem offered{block.Position, block.Command, item.CheckBitmap, {}};
  offered.Caption.reserve(caption.size() + 1);  // with room for the mark of its access key
  offered.Caption = caption;
  action_table()[block.Record] = {std::move(caption), static_cast<long>(block.Command),
                                  static_cast<long>(block.Record), true, item.Picked.Keyword};
  return offered;
}

// The letters that are access keys without our choice: a caption further down may bring one too.
std::wstring access_Keys(const std::vector<OfferedItem>& items, HMENU menu) {
  auto keys = access_Keys(menu);
  for (const auto& item : items)
    if (const auto key = access_Key(item.Caption); key != L'\0')
      keys += key;
  return keys;
}

void insert_Items(std::vector<OfferedItem>& items, HMENU menu) {
  auto taken = run_Guarded(std::wstring(), [&] { return access_Keys(items, menu); });
  for (auto& item : items)
    run_Guarded([&] {
      mark_AccessKey(item.Caption, taken);
      insert_MenuItem(item.Position, item.Command, item.CheckBitmap, 0, menu, item.Caption);
    });
}

void compose(const SelectionFlags& flags, Block& block) {
  const RememberedReads reads(RememberedReads::For::Menu);
  debug_Log(L"Query Context Menu FilesAreFolder: ", flags.FilesAreFolder ? L"True" : L"False");
  std::vector<OfferedItem> items;
  run_Guarded([&items] { items.reserve(menu_items.size()); });
  for (std::size_t index = 0; index < menu_items.size(); ++index) {
    const auto& item = menu_items[index];
    if (!run_Guarded(false, [&] { return item.find_Missing(flags).Name == nullptr; }))
      continue;
    // An item that fails on its way still has its identifier.
    run_Guarded([&] { items.push_back(offer(item, captions[index], block)); });
    ++block.Position;
    ++block.Command;
    ++block.Record;
  }
  if (block.Record == 0)
    return;
  insert_Items(items, block.Menu);
  InsertMenuW(block.Menu, block.Position, MF_BYPOSITION | MF_SEPARATOR, 0, nullptr);
}

}  // namespace

HRESULT STDMETHODCALLTYPE QueryContextMenu(IContextMenu* object, HMENU hmenu, UINT indexMenu, UINT idCmdFirst,
                                           UINT, UINT uFlags) noexcept {
  if (!is_MenuWanted(uFlags) || is_ServiceAccount())
    return 0;
  const Microsoft::WRL::ComPtr<IContextMenu> own(
      object);  // a component may have the shell let it go meanwhile
  Block block{hmenu, indexMenu, idCmdFirst};
  run_Guarded([&block] { compose(current_Selection()->Flags, block); });
  return static_cast<HRESULT>(block.Command - idCmdFirst);
}
