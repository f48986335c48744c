#include "suite/feature_probes.h"

#include <windows.h>

#include "base/boundary.h"
#include "base/module.h"
#include "base/process_values.h"
#include "base/text.h"
#include "files/files.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "suite/suite_folders.h"

namespace {

constinit Settled<bool> card_connector_found;
constinit Settled<bool> credential_provider_found;
constinit Settled<bool> multi_signer_found;
constinit Settled<std::wstring> configuration_tool;  // empty when it was looked for and not found
constinit Settled<std::wstring> smart_card;  // the registry's own text, or "1" for a feature that is on

bool is_LoadedFromDriveRoot() {
  return contains(to_Lower(get_ModuleFolder()), LR"(:\norvak)");
}

bool is_SwitchedOn(std::wstring_view first_path, std::wstring_view second_path) {
  auto value = regread_Text(first_path);
  if (trim(value).empty())
    value = regread_Text(second_path);
  return trim(value) == L"1";
}

// A failure on the way leaves the answer at no.
template <typename Question>
bool settle(Settled<bool>& answer, Question&& is_on) {
  return answer.get_Or(
      [&] { return run_Guarded(false, [&] { return is_on() || is_LoadedFromDriveRoot(); }); });
}

bool is_ToolFeatureOn(std::wstring_view first_path, std::wstring_view second_path) {
  const auto tool = find_ConfigurationTool();
  return !tool.empty() && is_SwitchedOn(first_path, second_path) && file_Exists(tool);
}

std::wstring find_SmartCard() {
  for (auto* probe : {has_CardConnector, has_CredentialProvider, has_MultiSigner})
    if (probe())
      return L"1";
  for (const auto* path : {csp_card_connector.Path, card_connector.Path, credential_provider.Path})
    if (auto text = regread_Text(path); !text.empty())
      return text;
  return {};
}

}  // namespace

bool has_CardConnector() {
  return settle(card_connector_found,
                [] { return is_ToolFeatureOn(card_connector.Path, csp_card_connector.Path); });
}

bool has_CredentialProvider() {
  return settle(credential_provider_found,
                [] { return is_ToolFeatureOn(credential_provider.Path, csp_credential_provider.Path); });
}

bool has_MultiSigner() {
  return settle(multi_signer_found, [] { return trim(regread_Text(multi_signer.Path)) == L"1"; });
}

std::wstring find_ConfigurationTool() {
  return configuration_tool.get_Or([] {
    constexpr std::wstring_view tool = L"NorvakConfig.exe";
    auto path = find_InFolder(get_InstallFolder(), tool);
    return path.empty() ? find_InFolder(regread_Text(csp_folder.Path), tool) : path;
  });
}

bool is_CardSigningAvailable() {
  auto known = smart_card.get();
  if (!known)
    if (auto found = find_SmartCard(); !found.empty())
      known = smart_card.settle(std::move(found));
  return known == L"1";
}
