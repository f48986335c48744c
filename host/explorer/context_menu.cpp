#include "host/explorer/context_menu.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include "base/text.h"
#include "host/explorer/failure.h"
#include "host/language.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;

constexpr wchar_t extension_prog_id[] = L"NorvakContextMenu.ShellExt";

// One GetCommandString call; empty when the extension answers nothing, whatever result it gives.
template <typename Character>
std::basic_string<Character> ask_Text(IContextMenu* extension, UINT offset, UINT type) {
  constexpr UINT capacity = 512;
  // Handlers exist that put the terminator behind a full buffer, so it is longer than they are told.
  std::basic_string<Character> buffer(capacity + 2, Character{});
  const HRESULT result =
      extension->GetCommandString(offset, type, nullptr, reinterpret_cast<char*>(buffer.data()), capacity);
  // NOLINTNEXTLINE(readability-redundant-string-cstr): up to the first NUL only
  return SUCCEEDED(result) ? std::basic_string<Character>(buffer.c_str()) : std::basic_string<Character>();
}

// Explorer asks for UTF-16 first and falls back to the code page.
std::wstring ask_WideThenAnsi(IContextMenu* extension, UINT offset, UINT wide_type, UINT ansi_type) {
  const auto text = ask_Text<wchar_t>(extension, offset, wide_type);
  return text.empty() ? from_Ansi(ask_Text<char>(extension, offset, ansi_type)) : text;
}

std::wstring read_Caption(HMENU menu, int position) {
  const auto length = GetMenuStringW(menu, static_cast<UINT>(position), nullptr, 0, MF_BYPOSITION);
  std::wstring caption(static_cast<std::size_t>(std::max(length, 0)), L'\0');
  GetMenuStringW(menu, static_cast<UINT>(position), caption.data(), length + 1, MF_BYPOSITION);
  return without_Mark(caption);
}

MenuEntry read_Entry(HMENU menu, int position, UINT first_id) {
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
    entry.Caption = read_Caption(menu, position);
  }
  return entry;
}

}  // namespace

void require_Success(HRESULT result, unsigned long what_failed, const std::wstring& part) {
  if (FAILED(result))
    throw Failure{say(what_failed, {format_Result(result), part})};
}

ComPtr<IClassFactory> find_ClassFactory() {
  CLSID clsid{};
  if (FAILED(CLSIDFromProgID(extension_prog_id, &clsid)))
    throw Failure{say(TEXT_NOT_REGISTERED, {extension_prog_id})};
  ComPtr<IClassFactory> factory;
  require_Success(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)),
                  TEXT_DLL_NOT_LOADED);
  return factory;
}

std::wstring without_Mark(const std::wstring& caption) {
  std::wstring shown;
  for (std::size_t index = 0; index < caption.size(); ++index) {
    if (caption[index] == L'&' && index + 1 < caption.size())
      ++index;
    shown += caption[index];
  }
  return shown;
}

ComPtr<IContextMenu> create_Extension(IDataObject* selection) {
  ComPtr<IShellExtInit> initializer;
  require_Success(find_ClassFactory()->CreateInstance(nullptr, IID_PPV_ARGS(&initializer)), TEXT_NO_OBJECT);
  require_Success(initializer->Initialize(nullptr, selection, nullptr), TEXT_SELECTION_REFUSED);
  ComPtr<IContextMenu> extension;
  require_Success(initializer.As(&extension), TEXT_NO_CONTEXT_MENU);
  return extension;
}

Offer query_Menu(IContextMenu* extension, HMENU menu, UINT first_id, UINT flags) {
  const auto first_position = GetMenuItemCount(menu);
  const HRESULT result =
      extension->QueryContextMenu(menu, static_cast<UINT>(first_position), first_id, last_command_id, flags);
  require_Success(result, TEXT_NO_MENU);
  Offer offer;
  offer.ReturnedCount = static_cast<UINT>(HRESULT_CODE(result));
  for (int position = first_position; position < GetMenuItemCount(menu); ++position)
    offer.Entries.push_back(read_Entry(menu, position, first_id));
  return offer;
}

void fetch_Texts(IContextMenu* extension, Offer& offer) {
  for (MenuEntry& entry : offer.Entries) {
    if (!entry.IsSeparator) {
      entry.Verb = ask_WideThenAnsi(extension, entry.Offset, GCS_VERBW, GCS_VERBA);
      entry.HelpText = ask_WideThenAnsi(extension, entry.Offset, GCS_HELPTEXTW, GCS_HELPTEXTA);
    }
  }
}

std::vector<MenuEntry> select_Items(const Offer& offer) {
  std::vector<MenuEntry> items;
  std::ranges::copy_if(offer.Entries, std::back_inserter(items), std::not_fn(&MenuEntry::IsSeparator));
  return items;
}

void invoke_Item(IContextMenu* extension, const MenuEntry& item, HWND owner) {
  CMINVOKECOMMANDINFO info{};
  info.cbSize = sizeof info;
  info.hwnd = owner;
  info.lpVerb = MAKEINTRESOURCEA(item.Offset);
  info.nShow = SW_SHOWNORMAL;
  require_Success(extension->InvokeCommand(&info), TEXT_NOT_CARRIED_OUT, item.Caption);
}

}  // namespace host
