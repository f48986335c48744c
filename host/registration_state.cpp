#include "host/registration_state.h"

#include <windows.h>

#include <algorithm>

#include "shellext/shell_ext.h"
#include "support/files.h"
#include "support/guid.h"
#include "support/registry_keys.h"
#include "support/text.h"

namespace host {
namespace {

std::wstring read_text(const std::wstring& path) {
  return as_Text(regread_api(path));
}

Fact describe_class(const std::wstring& clsid) {
  const std::wstring file = read_text(LR"(HKCR\CLSID\)" + clsid + LR"(\InprocServer32\)");
  if (file.empty()) {
    return {L"Class " + clsid, L"missing", L"regsvr32 NorvakContextMenu.dll registers it"};
  }
  return {L"Class " + clsid, L"registered", file_Exists(file) ? file : L"but there is no file " + file};
}

Fact describe_entry(std::wstring subject, const std::wstring& path, std::wstring_view expected) {
  const std::wstring text = read_text(path);
  const bool is_right = expected.empty() ? !text.empty() : equals_IgnoringCase(text, expected);
  return {std::move(subject), is_right ? L"registered" : text.empty() ? L"missing" : L"wrong", path};
}

/// A handler key counts whatever its name is: it has the class as its default value or as its own name.
Fact describe_handler(std::wstring subject, const wchar_t* kind, const std::wstring& clsid) {
  const std::wstring path = std::wstring(LR"(HKCR\)") + kind + LR"(\shellex\ContextMenuHandlers\)";
  const auto names = list_Key(find_Place(path), KeyContent::Subkeys).value_or(std::vector<std::wstring>());
  const auto handler = std::ranges::find_if(names, [&](const std::wstring& name) {
    return equals_IgnoringCase(name, clsid) || equals_IgnoringCase(read_text(path + name + L"\\"), clsid);
  });
  const bool is_there = handler != names.end();
  return {std::move(subject), is_there ? L"registered" : L"missing", is_there ? path + *handler : path};
}

Fact describe_bitness() {
  BOOL is_emulated = FALSE;
  IsWow64Process(GetCurrentProcess(), &is_emulated);
  const std::wstring own = std::to_wstring(sizeof(void*) * 8) + L"-bit";
  if (is_emulated) {
    return {L"Explorer", L"mismatch",
            L"Windows is 64-bit, and its Explorer cannot load this " + own + L" extension"};
  }
  return {L"Explorer", L"fits", L"Windows and the extension are " + own};
}

}  // namespace

std::vector<Fact> list_registration() {
  const std::wstring clsid = guid_Text(clsid_ShellExt);
  return {
      describe_class(clsid),
      describe_entry(L"ProgID", LR"(HKCR\NorvakContextMenu.ShellExt\CLSID\)", clsid),
      describe_entry(L"Type library", LR"(HKCR\CLSID\)" + clsid + LR"(\TypeLib\)", guid_Text(libid_ShellExt)),
      describe_handler(L"Handler for files", L"*", clsid),
      describe_handler(L"Handler for folders", L"Directory", clsid),
      describe_handler(L"Handler for drives", L"Drive", clsid),
      describe_entry(L"Approved extension",
                     LR"(HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Shell Extensions\Approved\)" + clsid,
                     {}),
      describe_bitness()};
}

}  // namespace host
