// Decides which of the ten items the selection gets and puts them into the shell's menu, one action-table
// record each. Kept for the life of the process: the translated captions and the name of the signing key
// container.
#pragma once

#include <windows.h>

#include <shlobj.h>

#include <optional>
#include <vector>

#include "selection/selection.h"

// The shell's `QueryContextMenu`, entered through the method table of `ShellExt`, whose object it does not
// need. Returns the number of command identifiers used, which is the shell's success code too; 0 when nothing
// was offered. `idCmdLast` is not looked at: five identifiers are the most that a selection gets.
HRESULT STDMETHODCALLTYPE QueryContextMenu(IContextMenu* object, HMENU hmenu, UINT indexMenu, UINT idCmdFirst,
                                           UINT idCmdLast, UINT uFlags) noexcept;

// What an item needs before it is offered.
enum class Condition {
  Folders,         // the selection is folders alone
  NotOnlyFolders,  // it is not
  MultiSigner,
  CardFeature,  // the card connector or the credential provider
  DriveRoot,
  Container,
  NoContainer,
  Mounted,
  NotMounted,
  PdfApplication,
  Viewable,  // a PDF, XML or image file in the selection
  Quill,
  Signable,
  WorkerAndApplication,  // the signing worker and a PDF application
  Convertible,
  ContainerName,  // the user's signing key container
  SigningRoute,   // quill!, a PDF application or a card
  Pkcs7,
  NoPkcs7,
  NoLink,
};

struct ItemDecision {
  const wchar_t* Caption;  // not translated
  const wchar_t* Action;
  std::optional<Condition> Missing;  // the first condition that does not hold; nothing for an item offered
};

// What `QueryContextMenu` decides for a selection with these flags, for all ten items.
std::vector<ItemDecision> decide_Items(const SelectionFlags& flags);
