#include "menu/composition.h"

#include <wrl/client.h>

#include <algorithm>
#include <array>
#include <utility>

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

bool is_Offered(const MenuItem& item, const SelectionFlags& flags) noexcept {
  return run_Guarded(false, [&] { return item.find_Missing(flags).Name == nullptr; });
}

OfferedItem make_Item(std::size_t index) {
  OfferedItem item{&menu_items[index], {}};
  const auto caption = caption_Of(menu_items[index], captions[index]);
  item.Caption.reserve(caption.size() + 1);
  item.Caption = caption;
  return item;
}

// The part of the shell's menu that is being filled.
struct Block {
  HMENU Menu;
  UINT Position;
  UINT Command;
};

void insert(OfferedItem& item, UINT number, std::wstring& taken, const Block& block) {
  const auto command = block.Command + number;
  action_table()[number] = {item.Caption, static_cast<long>(command), static_cast<long>(number), true,
                            item.Row->Picked.Keyword};
  mark_AccessKey(item.Caption, taken);
  insert_MenuItem(block.Position + number, command, item.Row->CheckBitmap, 0, block.Menu, item.Caption);
}

void compose(const SelectionFlags& flags, const Block& block, UINT& count) {
  auto offer = offer_Items(flags);
  count = static_cast<UINT>(offer.Count);
  if (count == 0)
    return;
  auto taken = access_Keys(offer.all(), block.Menu);
  for (UINT number = 0; number < count; ++number)
    if (offer.Items[number].Row != nullptr)
      run_Guarded([&] { insert(offer.Items[number], number, taken, block); });
  InsertMenuW(block.Menu, block.Position + count, MF_BYPOSITION | MF_SEPARATOR, 0, nullptr);
}

}  // namespace

Offer offer_Items(const SelectionFlags& flags) {
  const RememberedReads reads(RememberedReads::For::Menu);
  debug_Log(L"Query Context Menu FilesAreFolder: ", flags.FilesAreFolder ? L"True" : L"False");
  Offer offer;
  for (std::size_t index = 0; index < menu_items.size(); ++index)
    if (is_Offered(menu_items[index], flags)) {
      run_Guarded([&] { offer.Items[offer.Count] = make_Item(index); });
      ++offer.Count;
    }
  return offer;
}

bool has_Items(const SelectionFlags& flags) {
  const RememberedReads reads(RememberedReads::For::Menu);
  return std::ranges::any_of(menu_items, [&flags](const MenuItem& item) { return is_Offered(item, flags); });
}

std::wstring access_Keys(std::span<const OfferedItem> items, HMENU menu) noexcept {
  return run_Guarded(std::wstring(), [&] {
    auto keys = access_Keys(menu);
    for (const auto& item : items)
      if (const auto key = access_Key(item.Caption); key != L'\0')
        keys += key;
    return keys;
  });
}

HRESULT STDMETHODCALLTYPE QueryContextMenu(IContextMenu* object, HMENU hmenu, UINT indexMenu, UINT idCmdFirst,
                                           UINT, UINT uFlags) noexcept {
  if (!is_MenuWanted(uFlags) || is_ServiceAccount())
    return 0;
  const Microsoft::WRL::ComPtr<IContextMenu> own(
      object);  // a component may have the shell let it go meanwhile
  UINT count = 0;
  run_Guarded([&] { compose(current_Selection()->Flags, {hmenu, indexMenu, idCmdFirst}, count); });
  return static_cast<HRESULT>(count);
}
