#include "menu/composition.h"

#include <wrl/client.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "base/boundary.h"
#include "base/log.h"
#include "base/process_values.h"
#include "launcher/action_table.h"
#include "launcher/program_locators.h"
#include "launcher/translation.h"
#include "menu/bitmaps.h"
#include "menu/insertion.h"
#include "selection/selection.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "suite/feature_probes.h"

namespace {

constinit Settled<std::wstring> unique_container_name;  // read again while it is empty

bool has_ContainerName() {
  if (unique_container_name.get())
    return true;
  auto name = regread_Text(users_container.Path);
  return !name.empty() && !unique_container_name.settle(std::move(name)).empty();
}

bool has_CardFeature() {
  return has_CardConnector() || has_CredentialProvider();
}

// Both are looked for, whatever the first one gives.
bool has_WorkerAndApplication() {
  const auto worker = find_WorkerProcess();
  const auto application = find_PdfApplication();
  return !worker.empty() && !application.empty();
}

// All three are looked for, whatever the first ones give.
bool has_SigningRoute() {
  const auto quill = find_Quill();
  const auto application = find_PdfApplication();
  const bool card = is_CardSigningAvailable();
  return !quill.empty() || !application.empty() || card;
}

bool holds(Condition condition, const SelectionFlags& flags) {
  switch (condition) {
    case Condition::Folders:
      return flags.FilesAreFolder;
    case Condition::NotOnlyFolders:
      return !flags.FilesAreFolder;
    case Condition::MultiSigner:
      return has_MultiSigner();
    case Condition::CardFeature:
      return has_CardFeature();
    case Condition::DriveRoot:
      return flags.IsDrive;
    case Condition::Container:
      return flags.ContainerPresent;
    case Condition::NoContainer:
      return !flags.ContainerPresent;
    case Condition::Mounted:
      return flags.DriveMounted;
    case Condition::NotMounted:
      return !flags.DriveMounted;
    case Condition::PdfApplication:
      return !find_PdfApplication().empty();
    case Condition::Viewable:
      return flags.HasXml || flags.HasImage || flags.HasPdf;
    case Condition::Quill:
      return !find_Quill().empty();
    case Condition::Signable:
      return flags.HasSignable;
    case Condition::WorkerAndApplication:
      return has_WorkerAndApplication();
    case Condition::Convertible:
      return flags.HasConvertible;
    case Condition::ContainerName:
      return has_ContainerName();
    case Condition::SigningRoute:
      return has_SigningRoute();
    case Condition::Pkcs7:
      return flags.HasPkcs7;
    case Condition::NoPkcs7:
      return !flags.HasPkcs7;
    case Condition::NoLink:
      return !flags.HasLink;
  }
  return false;
}

using Conditions = std::span<const Condition>;

// Asked in this order, up to the first that does not hold.
constexpr std::array sign_folder{Condition::MultiSigner};
constexpr std::array mount{Condition::CardFeature, Condition::DriveRoot, Condition::Container,
                           Condition::NotMounted};
constexpr std::array unmount{Condition::CardFeature, Condition::DriveRoot, Condition::Container,
                             Condition::Mounted};
constexpr std::array create{Condition::CardFeature, Condition::DriveRoot, Condition::NoContainer};
constexpr std::array view{Condition::PdfApplication, Condition::Viewable};
constexpr std::array quill{Condition::Quill, Condition::Signable};
constexpr std::array sign_pdf{Condition::WorkerAndApplication, Condition::Convertible,
                              Condition::ContainerName};
constexpr std::array create_pkcs7{Condition::SigningRoute, Condition::NoPkcs7, Condition::NoLink};
constexpr std::array validate_pkcs7{Condition::SigningRoute, Condition::Pkcs7};

std::optional<Condition> find_Missing(Conditions conditions, const SelectionFlags& flags) {
  const auto missing =
      std::ranges::find_if_not(conditions, [&flags](Condition condition) { return holds(condition, flags); });
  return missing == conditions.end() ? std::nullopt : std::optional(*missing);
}

struct MenuItem {
  const wchar_t* Caption;
  const wchar_t* Keyword;
  Conditions Needs;
  UINT CheckBitmap;
};

constexpr std::array folder_items{
    MenuItem{L"Sign PDFs in Folder", L"sfolder", sign_folder, 0},
    MenuItem{L"Mount Secure Drive", L"mount", mount, 0},
    MenuItem{L"Unmount Secure Drive", L"unmount", unmount, 0},
    MenuItem{L"Create Secure Drive", L"create", create, 0},
};

constexpr std::array file_items{
    MenuItem{L"Open with Norvak", L"view", view, 0},
    MenuItem{L"Open with quill!", L"quill!", quill, 0},
    MenuItem{L"Create PDF Signature", L"signit", sign_pdf, check_mark_bitmap},
    MenuItem{L"Create PKCS7 Signature", L"p7s", create_pkcs7, 0},
    MenuItem{L"Create PKCS7 Envelope", L"p7m", create_pkcs7, 0},
    MenuItem{L"Validate PKCS7 Signature", L"vPKCS7", validate_pkcs7, 0},
};

// Translated with their first use; kept for the life of the process once the translator has answered.
constinit std::array<Settled<std::wstring>, folder_items.size()> folder_captions;
constinit std::array<Settled<std::wstring>, file_items.size()> file_captions;

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

void offer(const MenuItem& item, Settled<std::wstring>& known_caption, Block& block) {
  const auto caption = caption_Of(item, known_caption);
  action_table()[block.Record] = {caption, static_cast<long>(block.Command), static_cast<long>(block.Record),
                                  true, item.Keyword};
  insert_MenuItem(block.Position, block.Command, item.CheckBitmap, 0, block.Menu, caption);
}

void offer_Items(std::span<const MenuItem> items, std::span<Settled<std::wstring>> captions,
                 const SelectionFlags& flags, Block& block) {
  for (std::size_t index = 0; index < items.size(); ++index) {
    // An item that fails on its way still has its identifier.
    if (!run_Guarded(false, [&] { return !find_Missing(items[index].Needs, flags); }))
      continue;
    run_Guarded([&] { offer(items[index], captions[index], block); });
    ++block.Position;
    ++block.Command;
    ++block.Record;
  }
}

void compose(const SelectionFlags& flags, Block& block) {
  const RememberedReads reads(RememberedReads::For::Menu);
  debug_Log(L"Query Context Menu FilesAreFolder: ", flags.FilesAreFolder ? L"True" : L"False");
  if (flags.FilesAreFolder)
    offer_Items(folder_items, folder_captions, flags, block);
  else
    offer_Items(file_items, file_captions, flags, block);
  if (block.Record != 0)
    InsertMenuW(block.Menu, block.Position, MF_BYPOSITION | MF_SEPARATOR, 0, nullptr);
}

void decide_Group(std::span<const MenuItem> items, Condition group, const SelectionFlags& flags,
                  std::vector<ItemDecision>& decisions) {
  for (const auto& item : items)
    decisions.push_back({item.Caption, item.Keyword,
                         holds(group, flags) ? find_Missing(item.Needs, flags) : std::optional(group)});
}

}  // namespace

HRESULT STDMETHODCALLTYPE QueryContextMenu(IContextMenu* object, HMENU hmenu, UINT indexMenu, UINT idCmdFirst,
                                           UINT, UINT uFlags) noexcept {
  if (!is_MenuWanted(uFlags))
    return 0;
  const Microsoft::WRL::ComPtr<IContextMenu> own(
      object);  // a component may have the shell let it go meanwhile
  Block block{hmenu, indexMenu, idCmdFirst};
  run_Guarded([&block] { compose(current_Selection()->Flags, block); });
  return static_cast<HRESULT>(block.Command - idCmdFirst);
}

std::vector<ItemDecision> decide_Items(const SelectionFlags& flags) {
  const RememberedReads reads(RememberedReads::For::Menu);
  std::vector<ItemDecision> decisions;
  decide_Group(folder_items, Condition::Folders, flags, decisions);
  decide_Group(file_items, Condition::NotOnlyFolders, flags, decisions);
  return decisions;
}
