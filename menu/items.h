// The ten items of the menu in their order. A selection gets those of which all conditions hold.
#pragma once

#include <algorithm>
#include <array>

#include "launcher/actions.h"
#include "menu/bitmaps.h"
#include "menu/conditions.h"

struct MenuItem {
  const wchar_t* Caption;  // not translated
  const Action& Picked;
  // Asked in this order, up to the first that does not hold; those behind the last have no name.
  std::array<Condition, 5> Needs;
  UINT CheckBitmap = 0;

  // The first condition that does not hold; one without a name when all do.
  Condition find_Missing(const SelectionFlags& flags) const {
    const auto* missing = std::ranges::find_if(Needs, [&flags](const Condition& condition) {
      return condition.Name != nullptr && !condition.Holds(flags);
    });
    return missing == Needs.end() ? Condition() : *missing;
  }
};

inline constexpr auto menu_items = [] {
  using namespace conditions;
  const auto picked = [](auto keyword) -> const Action& { return *find_Action(keyword); };
  return std::array{
      MenuItem{L"Sign PDFs in Folder", picked(L"sfolder"), {folders, multi_signer_on}},
      MenuItem{L"Mount Secure Drive",
               picked(L"mount"),
               {folders, card_feature, drive_root, container, not_mounted}},
      MenuItem{L"Unmount Secure Drive",
               picked(L"unmount"),
               {folders, card_feature, drive_root, container, mounted}},
      MenuItem{L"Create Secure Drive", picked(L"create"), {folders, card_feature, drive_root, no_container}},
      MenuItem{L"Open with Norvak", picked(L"view"), {files, pdf_application, viewable}},
      MenuItem{L"Open with quill!", picked(L"quill!"), {files, quill, signable}},
      MenuItem{L"Create PDF Signature",
               picked(L"signit"),
               {files, worker_and_application, convertible, container_name},
               check_mark_bitmap},
      MenuItem{L"Create PKCS7 Signature", picked(L"p7s"), {files, signing_route, no_pkcs7, no_link}},
      MenuItem{L"Create PKCS7 Envelope", picked(L"p7m"), {files, signing_route, no_pkcs7, no_link}},
      MenuItem{L"Validate PKCS7 Signature", picked(L"vPKCS7"), {files, signing_route, pkcs7}}};
}();
