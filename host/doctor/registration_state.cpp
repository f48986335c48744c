#include "host/doctor/registration_state.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>

#include "base/guid.h"
#include "base/module.h"
#include "base/text.h"
#include "files/files.h"
#include "settings/registry_keys.h"
#include "shellext/class_identifiers.h"
#include "shellext/shell_ext.h"
#include "suite/component_list.h"

namespace host {
namespace {

std::wstring read_Text(const std::wstring& path) {
  return as_Text(regread_api(path));
}

Fact describe_Class(const std::wstring& clsid) {
  const std::wstring file = read_Text(LR"(HKCR\CLSID\)" + clsid + LR"(\InprocServer32\)");
  if (file.empty())
    return {L"Class " + clsid, L"missing", L"regsvr32 NorvakContextMenu.dll registers it"};
  return {L"Class " + clsid, L"registered", file_Exists(file) ? file : L"but there is no file " + file};
}

Fact describe_Entry(std::wstring subject, const std::wstring& path, std::wstring_view expected) {
  const auto text = read_Text(path);
  return {std::move(subject),
          equals_IgnoringCase(text, expected) ? L"registered"
          : text.empty()                      ? L"missing"
                                              : L"wrong",
          path};
}

// A handler key counts whatever its name is: it has the class as its default value or as its own name.
Fact describe_Handler(std::wstring subject, const wchar_t* kind, const std::wstring& clsid) {
  const std::wstring path = std::wstring(LR"(HKCR\)") + kind + LR"(\shellex\ContextMenuHandlers\)";
  const auto names = list_Key(find_Place(path), KeyContent::Subkeys).value_or(std::vector<std::wstring>());
  const auto handler = std::ranges::find_if(names, [&](const std::wstring& name) {
    return equals_IgnoringCase(name, clsid) || equals_IgnoringCase(read_Text(path + name + L"\\"), clsid);
  });
  const auto is_there = handler != names.end();
  return {std::move(subject), is_there ? L"registered" : L"missing", is_there ? path + *handler : path};
}

bool is_64BitWindows() {
  BOOL is_emulated = FALSE;
  IsWow64Process(GetCurrentProcess(), &is_emulated);
  return !is_SuitesBitness || is_emulated;
}

// The text of a value in one of the two views of a 64-bit Windows; nothing when there is none.
std::optional<std::wstring> read_InView(const std::wstring& path, REGSAM view) {
  const auto place = find_Place(path);
  const unique_hkey key = open_Key(place, KEY_READ | view);
  std::array<wchar_t, 512> text{};
  DWORD size = sizeof text;
  if (RegGetValueW(key.get(), nullptr, place.Name.c_str(), RRF_RT_REG_SZ, nullptr, text.data(), &size) !=
      ERROR_SUCCESS)
    return {};
  return text.data();
}

// Explorer reads the view of its own bitness.
Fact describe_Approval(const std::wstring& clsid) {
  const std::wstring path =
      LR"(HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Shell Extensions\Approved\)" + clsid;
  const bool is_there = read_InView(path, is_64BitWindows() ? KEY_WOW64_64KEY : 0).has_value();
  return {L"Approved extension", is_there ? L"registered" : L"missing", path};
}

Fact describe_Bitness(const std::wstring& clsid) {
  if (!is_64BitWindows())
    return {L"Explorer", L"fits", L"Windows and the extension are 32-bit"};
  const std::wstring path = LR"(HKCR\CLSID\)" + clsid + LR"(\InprocServer32\)";
  const bool has_64bit = read_InView(path, KEY_WOW64_64KEY).has_value();
  const bool has_32bit = read_InView(path, KEY_WOW64_32KEY).has_value();
  if (has_64bit && has_32bit)
    return {L"Explorer", L"fits", L"the 64-bit and the 32-bit DLL are registered"};
  return {
      L"Explorer", L"mismatch",
      has_64bit ? L"only the 64-bit DLL is registered, which 32-bit programs cannot load; run the setup again"
      : has_32bit
          ? L"only the 32-bit DLL is registered, which a 64-bit Explorer cannot load; run the setup again "
            L"(it has none for ARM processors)"
          : L"neither DLL is registered; run the setup again"};
}

// A component that is a 32-bit DLL needs a surrogate process to be reached from 64-bit programs.
Fact describe_Component(const std::wstring& progid) {
  const std::wstring clsid = read_InView(LR"(HKCR\)" + progid + LR"(\CLSID\)", 0).value_or(L"");
  const std::wstring class_path = LR"(HKCR\CLSID\)" + clsid + L"\\";
  const auto find = [&](const wchar_t* value, REGSAM view) { return read_InView(class_path + value, view); };
  if (find(LR"(InprocServer32\)", KEY_WOW64_64KEY) || find(LR"(LocalServer32\)", KEY_WOW64_64KEY) ||
      find(LR"(LocalServer32\)", KEY_WOW64_32KEY))
    return {L"Component " + progid, L"registered", L""};
  if (clsid.empty() || !find(LR"(InprocServer32\)", KEY_WOW64_32KEY))
    return {L"Component " + progid, L"missing", L""};
  const auto application = find(L"AppID", KEY_WOW64_32KEY);
  const std::wstring entry = LR"(HKCR\AppID\)" + application.value_or(clsid) + L"\\";
  if (application && read_InView(entry + L"DllSurrogate", KEY_WOW64_32KEY))
    return {L"Component " + progid, L"registered", L"64-bit programs reach it in a surrogate process"};
  const auto is_others = application || open_Key(find_Place(entry), KEY_READ | KEY_WOW64_32KEY);
  return {L"Component " + progid, L"mismatch",
          L"64-bit programs cannot reach it, a 32-bit DLL without a surrogate process; " +
              (is_others ? L"its class needs the value AppID, and " + entry + L" the value DllSurrogate"
                         : std::wstring(L"run the setup again"))};
}

}  // namespace

std::vector<Fact> list_Registration() {
  const auto clsid = guid_Text(clsid_ShellExt);
  std::vector<Fact> facts{
      describe_Class(clsid),
      describe_Entry(L"ProgID", LR"(HKCR\NorvakContextMenu.ShellExt\CLSID\)", clsid),
      describe_Entry(L"Type library", LR"(HKCR\CLSID\)" + clsid + LR"(\TypeLib\)", guid_Text(libid_ShellExt)),
      describe_Handler(L"Handler for files", L"*", clsid),
      describe_Handler(L"Handler for folders", L"Directory", clsid),
      describe_Handler(L"Handler for drives", L"Drive", clsid),
      describe_Approval(clsid),
      describe_Bitness(clsid)};
  std::ranges::transform(all_components, std::back_inserter(facts),
                         [](const auto* component) { return describe_Component(component->ProgId); });
  return facts;
}

}  // namespace host
