// What an item of the menu needs before it is offered. Kept for the life of the process: the name of the
// user's signing key container.
#pragma once

#include "selection/selection.h"
#include "suite/feature_probes.h"

struct Condition {
  const wchar_t* Name = nullptr;  // nobody else's
  bool (*Holds)(const SelectionFlags& flags) = nullptr;
};

// "HKCU\Software\Norvak\pdf\UniqueContainerName" has a text; asked again while it has none.
bool has_ContainerName();

// The card connector or the credential provider is installed and switched on.
bool has_CardFeature();

bool has_PdfApplication();
bool has_Quill();

// The signing worker and a PDF application; both are looked for, whatever the first one gives.
bool has_WorkerAndApplication();

// quill!, a PDF application or a card; all three are looked for, whatever the first ones give.
bool has_SigningRoute();

namespace conditions {

template <bool SelectionFlags::*... flags>
bool any_Of(const SelectionFlags& selected) {
  return ((selected.*flags) || ...);
}

template <bool SelectionFlags::*flag>
bool none_Of(const SelectionFlags& selected) {
  return !(selected.*flag);
}

template <bool (*feature)()>
bool with(const SelectionFlags&) {
  return feature();
}

inline constexpr Condition folders{L"Folders", any_Of<&SelectionFlags::FilesAreFolder>};
inline constexpr Condition files{L"Files", none_Of<&SelectionFlags::FilesAreFolder>};
inline constexpr Condition multi_signer_on{L"MultiSigner", with<has_MultiSigner>};
inline constexpr Condition card_feature{L"CardFeature", with<has_CardFeature>};
inline constexpr Condition drive_root{L"DriveRoot", any_Of<&SelectionFlags::IsDrive>};
inline constexpr Condition container{L"Container", any_Of<&SelectionFlags::ContainerPresent>};
inline constexpr Condition no_container{L"NoContainer", none_Of<&SelectionFlags::ContainerPresent>};
inline constexpr Condition mounted{L"Mounted", any_Of<&SelectionFlags::DriveMounted>};
inline constexpr Condition not_mounted{L"NotMounted", none_Of<&SelectionFlags::DriveMounted>};
inline constexpr Condition pdf_application{L"PdfApplication", with<has_PdfApplication>};
inline constexpr Condition viewable{
    L"Viewable", any_Of<&SelectionFlags::HasXml, &SelectionFlags::HasImage, &SelectionFlags::HasPdf>};
inline constexpr Condition quill{L"Quill", with<has_Quill>};
inline constexpr Condition signable{L"Signable", any_Of<&SelectionFlags::HasSignable>};
inline constexpr Condition worker_and_application{L"WorkerAndApplication", with<has_WorkerAndApplication>};
inline constexpr Condition convertible{L"Convertible", any_Of<&SelectionFlags::HasConvertible>};
inline constexpr Condition container_name{L"ContainerName", with<has_ContainerName>};
inline constexpr Condition signing_route{L"SigningRoute", with<has_SigningRoute>};
inline constexpr Condition pkcs7{L"Pkcs7", any_Of<&SelectionFlags::HasPkcs7>};
inline constexpr Condition no_pkcs7{L"NoPkcs7", none_Of<&SelectionFlags::HasPkcs7>};
inline constexpr Condition no_link{L"NoLink", none_Of<&SelectionFlags::HasLink>};

}  // namespace conditions
