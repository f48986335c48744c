// The first menu of Windows 11, as the DLL under test fills it.
#pragma once

#include "base/text.h"
#include "host/explorer/first_menu.h"
#include "shellext/class_identifiers.h"
#include "tests/explorer.h"

// Null where there is no memory for it.
inline ComPtr<IExplorerCommand> create_Verb(const Library& library) {
  ComPtr<IClassFactory> factory;
  ComPtr<IExplorerCommand> verb;
  library.get_Class(clsid_ExplorerCommand, IID_PPV_ARGS(&factory));
  if (factory)
    factory->CreateInstance(nullptr, IID_PPV_ARGS(&verb));
  return verb;
}

inline host::FirstMenu first_Menu(const Library& library, const Lines& paths) {
  const auto verb = create_Verb(library);
  return verb ? host::query_Verb(verb.Get(), host::make_Items(paths).Get()) : host::FirstMenu();
}

// The children's lines in the form of `offered`, which has identifiers from `first_id` on.
inline Lines lines_Of(const host::FirstMenu& menu, UINT first_id = 1) {
  Lines lines;
  for (const auto& item : menu.Items)
    lines.push_back(std::to_wstring(first_id++) + L" " + item.Title + (item.Icon.empty() ? L"" : L" *"));
  if (!lines.empty())
    lines.emplace_back(L"-");
  return lines;
}
