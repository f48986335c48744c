#include "menu/composition.h"

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

bool can_SignFolder() {
  return has_MultiSigner();
}

bool is_SecureDrive() {
  return (has_CardConnector() || has_CredentialProvider()) && selection_flags().IsDrive;
}

bool can_Mount() {
  const auto& flags = selection_flags();
  return is_SecureDrive() && flags.ContainerPresent && !flags.DriveMounted;
}

bool can_Unmount() {
  const auto& flags = selection_flags();
  return is_SecureDrive() && flags.ContainerPresent && flags.DriveMounted;
}

bool can_Create() {
  return is_SecureDrive() && !selection_flags().ContainerPresent;
}

bool can_View() {
  const auto application = find_PdfApplication();
  const auto& flags = selection_flags();
  return (flags.HasXml || flags.HasImage || flags.HasPdf) && !application.empty();
}

bool can_OpenWithQuill() {
  return !find_Quill().empty() && selection_flags().HasSignable;
}

bool can_SignPdf() {
  const auto worker = find_WorkerProcess();
  const auto application = find_PdfApplication();
  return !worker.empty() && !application.empty() && selection_flags().HasConvertible && has_ContainerName();
}

// Looking for the PDF application may find the card that the flag stands for.
bool has_SigningRoute() {
  const auto quill = find_Quill();
  const auto application = find_PdfApplication();
  return !quill.empty() || !application.empty() || selection_flags().CardSigningAvailable;
}

bool can_CreatePkcs7() {
  return has_SigningRoute() && !selection_flags().HasPkcs7 && !selection_flags().HasLink;
}

bool can_ValidatePkcs7() {
  return has_SigningRoute() && selection_flags().HasPkcs7;
}

struct MenuItem {
  const wchar_t* Caption;
  const wchar_t* Keyword;
  bool (*IsOffered)();
  UINT CheckBitmap;
};

constexpr std::array folder_items{
    MenuItem{L"Sign PDFs in Folder", L"sfolder", can_SignFolder, 0},
    MenuItem{L"Mount Secure Drive", L"mount", can_Mount, 0},
    MenuItem{L"Unmount Secure Drive", L"unmount", can_Unmount, 0},
    MenuItem{L"Create Secure Drive", L"create", can_Create, 0},
};

constexpr std::array file_items{
    MenuItem{L"Open with Norvak", L"view", can_View, 0},
    MenuItem{L"Open with quill!", L"quill!", can_OpenWithQuill, 0},
    MenuItem{L"Create PDF Signature", L"signit", can_SignPdf, check_mark_bitmap},
    MenuItem{L"Create PKCS7 Signature", L"p7s", can_CreatePkcs7, 0},
    MenuItem{L"Create PKCS7 Envelope", L"p7m", can_CreatePkcs7, 0},
    MenuItem{L"Validate PKCS7 Signature", L"vPKCS7", can_ValidatePkcs7, 0},
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
  insert_MenuItem(block.Position, block.Command, item.CheckBitmap, 0, block.Menu, record.MenuName);
}

void offer_Items(std::span<const MenuItem> items, std::span<std::wstring> captions, Block& block) {
  for (std::size_t index = 0; index < items.size(); ++index) {
    // An item that fails on its way still has its identifier.
    if (!run_Guarded(false, items[index].IsOffered))
      continue;
    run_Guarded([&] { offer(items[index], captions[index], block); });
    ++block.Position;
    ++block.Command;
    ++block.Record;
  }
}

}  // namespace

HRESULT STDMETHODCALLTYPE QueryContextMenu(IContextMenu*, HMENU hmenu, UINT indexMenu, UINT idCmdFirst, UINT,
                                           UINT uFlags) noexcept {
  if (!is_MenuWanted(uFlags))
    return 0;
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
