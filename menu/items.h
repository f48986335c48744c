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
  UINT CheckBitmap;  // 0 for none
  // Asked in this order, up to the first that does not hold; those behind the last have no name.
  std::array<Condition, 5> Needs;

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
  constexpr UINT none = 0;
  return std::array{
      MenuItem{L"Sign PDFs in Folder", *find_Action(L"sfolder"), none, {folders, multi_signer_on}},
      MenuItem{L"Mount Secure Drive",
               *find_Action(L"mount"),
               none,
               {folders, card_feature, drive_root, container, not_mounted}},
      MenuItem{L"Unmount Secure Drive",
               *find_Action(L"unmount"),
               none,
               {folders, card_feature, drive_root, container, mounted}},
      MenuItem{L"Create Secure Drive",
               *find_Action(L"create"),
               none,
               {folders, card_feature, drive_root, no_container}},
      MenuItem{L"Open with Norvak", *find_Action(L"view"), none, {files, pdf_application, viewable}},
      MenuItem{L"Open with quill!", *find_Action(L"quill!"), none, {files, quill, signable}},
      MenuItem{L"Create PDF Signature",
               *find_Action(L"signit"),
               check_mark_bitmap,
               {files, worker_and_application, convertible, container_name}},
      MenuItem{
          L"Create PKCS7 Signature", *find_Action(L"p7s"), none, {files, signing_route, no_pkcs7, no_link}},
      MenuItem{
          L"Create PKCS7 Envelope", *find_Action(L"p7m"), none, {files, signing_route, no_pkcs7, no_link}},
      MenuItem{L"Validate PKCS7 Signature", *find_Action(L"vPKCS7"), none, {files, signing_route, pkcs7}},
  };
}();
