#include "menu/composition.h"

#include <algorithm>
#include <array>
#include <span>

#include "launcher/action_table.h"
#include "launcher/program_locators.h"
#include "launcher/translation.h"
#include "menu/bitmaps.h"
#include "menu/insertion.h"
#include "support/boundary.h"
#include "support/diagnostic_log.h"
#include "support/feature_probes.h"
#include "support/registry.h"
#include "support/selection_state.h"
#include "support/settings.h"

namespace {

std::wstring unique_container_name;  // lives as long as the module; read again while it is empty

bool has_ContainerName() {
  if (unique_container_name.empty())
    unique_container_name = regread_Text(users_container.Path);
  return !unique_container_name.empty();
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

// Looking for the PDF application may find the card that the flag stands for.
bool has_SigningRoute() {
  const auto quill = find_Quill();
  const auto application = find_PdfApplication();
  return !quill.empty() || !application.empty() || selection_flags().CardSigningAvailable;
}

bool holds(Condition condition) {
  const auto& flags = selection_flags();
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

std::optional<Condition> find_Missing(Conditions conditions) {
  const auto missing = std::ranges::find_if_not(conditions, holds);
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

// Translated with their first use; live as long as the module.
std::array<std::wstring, folder_items.size()> folder_captions;
std::array<std::wstring, file_items.size()> file_captions;

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

void offer(const MenuItem& item, std::wstring& caption, Block& block) {
  auto& record = action_table()[block.Record];
  record.MenuEnabled = VARIANT_TRUE;
  if (caption.empty())
    caption = translate_String(item.Caption);
  record.MenuName = caption;
  record.MenuIDX = static_cast<long>(block.Command);
  record.MenuAction = item.Keyword;
  record.MenuICMD = static_cast<long>(block.Record);
  insert_MenuItem(block.Position, block.Command, item.CheckBitmap, 0, block.Menu, caption);
}

void offer_Items(std::span<const MenuItem> items, std::span<std::wstring> captions, Block& block) {
  for (std::size_t index = 0; index < items.size(); ++index) {
    // An item that fails on its way still has its identifier.
    if (!run_Guarded(false, [&] { return !find_Missing(items[index].Needs); }))
      continue;
    run_Guarded([&] { offer(items[index], captions[index], block); });
    ++block.Position;
    ++block.Command;
    ++block.Record;
  }
}

void decide_Group(std::span<const MenuItem> items, Condition group, std::vector<ItemDecision>& decisions) {
  for (const auto& item : items)
    decisions.push_back(
        {item.Caption, item.Keyword, holds(group) ? find_Missing(item.Needs) : std::optional(group)});
}

}  // namespace

HRESULT STDMETHODCALLTYPE QueryContextMenu(IContextMenu*, HMENU hmenu, UINT indexMenu, UINT idCmdFirst, UINT,
                                           UINT uFlags) noexcept {
  if (!is_MenuWanted(uFlags))
    return 0;
  const RememberedReads reads(RememberedReads::For::Menu);
  const bool folders = selection_flags().FilesAreFolder;
  debug_Log(L"Query Context Menu FilesAreFolder: ", folders ? L"True" : L"False");
  Block block{hmenu, indexMenu, idCmdFirst};
  if (folders)
    offer_Items(folder_items, folder_captions, block);
  else
    offer_Items(file_items, file_captions, block);
  if (block.Record != 0)
    InsertMenuA(hmenu, block.Position, MF_BYPOSITION | MF_SEPARATOR, 0, nullptr);
  return static_cast<HRESULT>(block.Command - idCmdFirst);
}

std::vector<ItemDecision> decide_Items() {
  std::vector<ItemDecision> decisions;
  decide_Group(folder_items, Condition::Folders, decisions);
  decide_Group(file_items, Condition::NotOnlyFolders, decisions);
  return decisions;
}
