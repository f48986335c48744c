#include "host/doctor/package_state.h"

#include <algorithm>
#include <array>

#include "base/guid.h"
#include "base/text.h"
#include "files/files.h"
#include "host/doctor/registry_views.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/failure.h"
#include "host/explorer/first_menu.h"
#include "host/language.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "shellext/class_identifiers.h"
#include "shellext/explorer_command.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;

constexpr unsigned long first_build = 22000;
constexpr std::wstring_view package_beginning = L"Norvak.ContextMenu_";

// Where Windows lists the packages that every user gets, and those that this user has. Nobody documents these
// keys, so a Windows may keep them elsewhere.
constexpr const wchar_t* all_users_packages =
    LR"(HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Appx\AppxAllUserStore\Applications\)";
constexpr const wchar_t* users_packages =
    LR"(HKCU\Software\Classes\Local Settings\Software\Microsoft\Windows\CurrentVersion\AppModel\Repository\Packages\)";

// What the setup writes down, in the view of 32-bit programs.
constexpr const wchar_t* noted_folder =
    LR"(HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall\Norvak Context Menu\Windows11Folder)";
constexpr const wchar_t* noted_refusal =
    LR"(HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall\Norvak Context Menu\Windows11Package)";

constexpr const wchar_t* trusted_apps_policy =
    LR"(HKLM\SOFTWARE\Policies\Microsoft\Windows\Appx\AllowAllTrustedApps)";

// An entry of this class, with an empty name of its DLL, is how a person brings the classic menu back.
constexpr const wchar_t* classic_menu_entry =
    LR"(HKCU\Software\Classes\CLSID\{86ca1aa0-34aa-4e8b-a509-50c905bae2a2}\InprocServer32\)";

bool add_Packages(const wchar_t* key, std::vector<std::wstring>& names) {
  bool is_there = false;
  for (auto& name : list_Subkeys(key, explorers_View()))
    if (name.size() > package_beginning.size() &&
        equals_IgnoringCase(name.substr(0, package_beginning.size()), package_beginning)) {
      is_there = true;
      if (std::ranges::find(names, name) == names.end())
        names.push_back(std::move(name));
    }
  return is_there;
}

// The number of the failure in what Windows told the setup; S_OK where there is none.
HRESULT read_Result(const std::wstring& text) {
  const auto place = text.find(L"0x");
  return place == std::wstring::npos ? S_OK
                                     : static_cast<HRESULT>(std::wcstoul(text.c_str() + place, nullptr, 16));
}

struct Cause {
  std::wstring_view Code;
  unsigned long Text;
};

Cause find_Cause(HRESULT result) {
  constexpr std::array signatures{TRUST_E_NOSIGNATURE,        TRUST_E_BAD_DIGEST, TRUST_E_CERT_SIGNATURE,
                                  CERT_E_UNTRUSTEDROOT,       CERT_E_CHAINING,    CERT_E_EXPIRED,
                                  TRUST_E_SUBJECT_NOT_TRUSTED};
  constexpr std::array policies{HRESULT_FROM_WIN32(ERROR_INSTALL_POLICY_FAILURE),
                                HRESULT_FROM_WIN32(ERROR_DEPLOYMENT_BLOCKED_BY_POLICY)};
  if (std::ranges::find(signatures, result) != signatures.end())
    return {L"signatureRefused", TEXT_SIGNATURE_REFUSED};
  if (std::ranges::find(policies, result) != policies.end())
    return {L"policyRefused", TEXT_POLICY_REFUSED};
  return {L"packageRefused", TEXT_PACKAGE_REFUSED};
}

void add_PackageObstacles(Package& package) {
  const bool is_asked = !package.Folder.empty();
  if (!package.Refusal.empty()) {
    const auto cause = find_Cause(read_Result(package.Refusal));
    package.Obstacles.push_back({cause.Code, package.Refusal, say(cause.Text, {package.Refusal}), is_asked});
  } else if (package.Names.empty()) {
    package.Obstacles.push_back(
        {L"packageMissing", L"", say(is_asked ? TEXT_PACKAGE_GONE : TEXT_PACKAGE_MISSING), is_asked});
  } else if (!package.IsForThisUser) {
    package.Obstacles.push_back({L"notForThisUser", L"", say(TEXT_PACKAGE_NOT_FOR_USER), false});
  }
  const auto dll = full_Folder(package.Folder) + L"NorvakContextMenu.dll";
  if (is_asked && !file_Exists(dll))
    package.Obstacles.push_back({L"packageFileGone", dll, say(TEXT_PACKAGE_FILE_GONE, {dll}), true});
}

// What a value of the registry has Windows do.
void add_ValueObstacles(Package& package) {
  const auto add = [&package](std::wstring_view code, std::wstring_view path, unsigned long sentence) {
    const std::wstring subject(path);
    package.Obstacles.push_back({code, subject, say(sentence, {subject}), false});
  };
  if (read_Path(trusted_apps_policy, explorers_View()) == L"0")
    add(L"appsForbidden", trusted_apps_policy, TEXT_APPS_FORBIDDEN);
  for (const std::wstring root : {L"HKLM", L"HKCU"})
    if (const auto block = root + LR"(\SOFTWARE\Microsoft\Windows\CurrentVersion\Shell Extensions\Blocked\)" +
                           guid_Text(clsid_ExplorerCommand);
        has_Value(block, explorers_View()))
      add(L"verbBlocked", block, TEXT_BLOCKED);
  if (has_Key(classic_menu_entry, explorers_View()))
    add(L"classicMenuForced", classic_menu_entry, TEXT_CLASSIC_MENU_FORCED);
  if (trim(regread_Text(windows11_menu.Path)) == L"0")
    add(L"switchedOff", windows11_menu.Path, TEXT_SWITCHED_OFF);
}

// Asked of this program's own copy of the product. Without an answer where the shell does not know a path.
FirstMenu ask_Verb(const Selection& selection) {
  ComPtr<IExplorerCommand> verb;
  if (FAILED(create_ExplorerCommand(IID_PPV_ARGS(&verb))))
    throw Failure{say(TEXT_NO_MEMORY)};
  try {
    return query_Verb(verb.Get(), make_Items(selection.Paths).Get());
  } catch (const Failure&) {
    return {};
  }
}

}  // namespace

bool has_FirstMenu(const Circumstances& about) {
  return about.WindowsBuild >= first_build;
}

Package find_Package(const Selection& selection, const Circumstances& about) {
  Package package;
  package.IsForAllUsers = add_Packages(all_users_packages, package.Names);
  package.IsForThisUser = add_Packages(users_packages, package.Names);
  package.Folder = read_Path(noted_folder, KEY_WOW64_32KEY);
  package.Refusal = read_Path(noted_refusal, KEY_WOW64_32KEY);
  if (!has_FirstMenu(about))
    package.Obstacles.push_back(
        {L"windowsTooOld", about.Windows, say(TEXT_WINDOWS_TOO_OLD, {about.Windows}), false});
  add_PackageObstacles(package);
  add_ValueObstacles(package);
  const auto menu = ask_Verb(selection);
  package.IsShown = menu.IsShown;
  for (const auto& item : menu.Items)
    package.Items.push_back(without_Mark(item.Title));
  return package;
}

}  // namespace host
