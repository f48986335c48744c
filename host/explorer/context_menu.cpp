#include "host/explorer/context_menu.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include "host/explorer/failure.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;

constexpr wchar_t extension_prog_id[] = L"NorvakContextMenu.ShellExt";

void require_success(HRESULT result, std::wstring_view what_failed) {
  if (FAILED(result)) {
    throw Failure{std::wstring(what_failed) + L" (" + format_result(result) + L")."};
  }
}

ComPtr<IClassFactory> find_class_factory() {
  CLSID clsid{};
  if (FAILED(CLSIDFromProgID(extension_prog_id, &clsid))) {
    throw Failure{L"The extension is not registered: nothing is known of the class " +
                  quote_text(extension_prog_id) + L"."};
  }
  ComPtr<IClassFactory> factory;
  require_success(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)),
                  L"The extension's DLL cannot be loaded");
  return factory;
}

std::wstring convert_from_ansi(const std::string& text) {
  const int length = static_cast<int>(text.size());
  std::wstring converted(text.size(), L'\0');
  converted.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, text.data(), length, converted.data(), length)));
  return converted;
}

/// One GetCommandString call; empty when the extension answers nothing, whatever result it gives.
template <typename Character>
std::basic_string<Character> ask_text(IContextMenu* extension, UINT offset, UINT type) {
  constexpr UINT capacity = 512;
  // Handlers exist that put the terminator behind a full buffer, so it is longer than they are told.
  std::basic_string<Character> buffer(capacity + 2, Character{});
  const HRESULT result =
      extension->GetCommandString(offset, type, nullptr, reinterpret_cast<char*>(buffer.data()), capacity);
  // NOLINTNEXTLINE(readability-redundant-string-cstr): up to the first NUL only
  return SUCCEEDED(result) ? std::basic_string<Character>(buffer.c_str()) : std::basic_string<Character>();
}

/// Explorer asks for UTF-16 first and falls back to the code page.
std::wstring ask_wide_then_ansi(IContextMenu* extension, UINT offset, UINT wide_type, UINT ansi_type) {
  const std::wstring text = ask_text<wchar_t>(extension, offset, wide_type);
  return text.empty() ? convert_from_ansi(ask_text<char>(extension, offset, ansi_type)) : text;
}

std::wstring read_caption(HMENU menu, int position) {
  const int length = GetMenuStringW(menu, static_cast<UINT>(position), nullptr, 0, MF_BYPOSITION);
  std::wstring caption(static_cast<std::size_t>(std::max(length, 0)), L'\0');
  GetMenuStringW(menu, static_cast<UINT>(position), caption.data(), length + 1, MF_BYPOSITION);
  return caption;
}

MenuEntry read_entry(HMENU menu, int position, UINT first_id) {
  MENUITEMINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = MIIM_FTYPE | MIIM_ID | MIIM_CHECKMARKS | MIIM_BITMAP;
  GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &info);
  MenuEntry entry;
  entry.Position = position;
  entry.IsSeparator = (info.fType & MFT_SEPARATOR) != 0;
  if (!entry.IsSeparator) {
    entry.HasCheckMarkBitmap = info.hbmpUnchecked != nullptr || info.hbmpChecked != nullptr;
    entry.HasItemBitmap = info.hbmpItem != nullptr;
    entry.Id = info.wID;
    entry.Offset = info.wID - first_id;
    entry.Caption = read_caption(menu, position);
  }
  return entry;
}

}  // namespace

ComPtr<IContextMenu> create_extension(IDataObject* selection) {
  ComPtr<IShellExtInit> initializer;
  require_success(find_class_factory()->CreateInstance(nullptr, IID_PPV_ARGS(&initializer)),
                  L"The extension's object cannot be created");
  require_success(initializer->Initialize(nullptr, selection, nullptr),
                  L"The extension refuses the selection");
  ComPtr<IContextMenu> extension;
  require_success(initializer.As(&extension), L"The extension offers no context menu");
  return extension;
}

Offer query_menu(IContextMenu* extension, HMENU menu, UINT first_id, UINT flags) {
  const int first_position = GetMenuItemCount(menu);
  const HRESULT result =
      extension->QueryContextMenu(menu, static_cast<UINT>(first_position), first_id, last_command_id, flags);
  require_success(result, L"The extension cannot compose its menu");
  Offer offer;
  offer.ReturnedCount = static_cast<UINT>(HRESULT_CODE(result));
  for (int position = first_position; position < GetMenuItemCount(menu); ++position) {
    offer.Entries.push_back(read_entry(menu, position, first_id));
  }
  return offer;
}

void fetch_texts(IContextMenu* extension, Offer& offer) {
  for (MenuEntry& entry : offer.Entries) {
    if (!entry.IsSeparator) {
      entry.Verb = ask_wide_then_ansi(extension, entry.Offset, GCS_VERBW, GCS_VERBA);
      entry.HelpText = ask_wide_then_ansi(extension, entry.Offset, GCS_HELPTEXTW, GCS_HELPTEXTA);
    }
  }
}

std::vector<MenuEntry> select_items(const Offer& offer) {
  std::vector<MenuEntry> items;
  std::ranges::copy_if(offer.Entries, std::back_inserter(items), std::not_fn(&MenuEntry::IsSeparator));
  return items;
}

void invoke_item(IContextMenu* extension, const MenuEntry& item, HWND owner) {
  CMINVOKECOMMANDINFO info{};
  info.cbSize = sizeof info;
  info.hwnd = owner;
  info.lpVerb = MAKEINTRESOURCEA(item.Offset);
  info.nShow = SW_SHOWNORMAL;
  require_success(extension->InvokeCommand(&info),
                  L"The extension cannot carry out " + quote_text(item.Caption));
}

}  // namespace host
