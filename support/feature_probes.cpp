#include "support/feature_probes.h"

#include <windows.h>

#include <array>
#include <optional>

#include "support/files.h"
#include "support/module.h"
#include "support/registry.h"
#include "support/selection_state.h"
#include "support/settings.h"
#include "support/suite_folders.h"
#include "support/text.h"

namespace {

struct {
  std::optional<bool> CardConnector;
  std::optional<bool> CredentialProvider;
  std::optional<bool> MultiSigner;
  std::optional<std::wstring> ConfigurationTool;  // empty when it was looked for and not found
  std::wstring SmartCard;                         // the registry's own text, or "1" for a feature that is on
} probe_state;                                    // lives as long as the process

bool is_LoadedFromDriveRoot() {
  return contains(to_Lower(get_ModuleFolder()), LR"(:\norvak)");
}

bool is_SwitchedOn(std::wstring_view first_path, std::wstring_view second_path) {
  auto value = regread_Text(first_path);
  if (trim(value).empty())
    value = regread_Text(second_path);
  return trim(value) == L"1";
}

// The answer is no until the work is done, so that a failure on the way leaves it at no.
template <typename Question>
VARIANT_BOOL settle(std::optional<bool>& answer, Question&& is_on) {
  if (!answer) {
    answer = false;
    answer = is_on() || is_LoadedFromDriveRoot();
  }
  return to_VariantBool(*answer);
}

bool is_ToolFeatureOn(std::wstring_view first_path, std::wstring_view second_path) {
  const auto tool = find_ConfigurationTool();
  return !tool.empty() && is_SwitchedOn(first_path, second_path) && file_Exists(tool);
}

void fill_SmartCardCache() {
  for (auto* probe : {has_CardConnector, has_CredentialProvider, has_MultiSigner}) {
    if (probe_state.SmartCard.empty() && probe())
      probe_state.SmartCard = L"1";
  }
  for (const auto* path : {csp_card_connector.Path, card_connector.Path, credential_provider.Path}) {
    if (probe_state.SmartCard.empty())
      probe_state.SmartCard = regread_Text(path);
  }
}

}  // namespace

VARIANT_BOOL has_CardConnector() {
  return settle(probe_state.CardConnector,
                [] { return is_ToolFeatureOn(card_connector.Path, csp_card_connector.Path); });
}

VARIANT_BOOL has_CredentialProvider() {
  return settle(probe_state.CredentialProvider,
                [] { return is_ToolFeatureOn(credential_provider.Path, csp_credential_provider.Path); });
}

VARIANT_BOOL has_MultiSigner() {
  return settle(probe_state.MultiSigner, [] { return trim(regread_Text(multi_signer.Path)) == L"1"; });
}

std::wstring find_ConfigurationTool() {
  if (!probe_state.ConfigurationTool) {
    constexpr std::wstring_view tool = L"NorvakConfig.exe";
    auto path = find_InFolder(get_InstallFolder(), tool);
    if (path.empty())
      path = find_InFolder(regread_Text(csp_folder.Path), tool);
    probe_state.ConfigurationTool = path;
  }
  return *probe_state.ConfigurationTool;
}

void update_CardSigningAvailable() {
  fill_SmartCardCache();
  if (probe_state.SmartCard == L"1")
    selection_flags().CardSigningAvailable = VARIANT_TRUE;
}
