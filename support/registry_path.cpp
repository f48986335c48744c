#include "support/registry_path.h"

#include <optional>

#include "support/boundary.h"
#include "support/registry.h"
#include "support/settings.h"
#include "support/text.h"

namespace {

struct {
  bool Loading = false;
  std::optional<bool> ForceHKLM;
  std::wstring LastInput;
  std::wstring LastOutput;
} path_state;  // lives as long as the process

void make_BackslashesSingle(std::wstring& path) {
  replace_All(path, LR"(\\)", LR"(\)");
}

// The first use reads the switch through the very family that asks for it: the calls nested in that read find
// the load under way and go on without the switch.
void load_forceHKLM() {
  path_state.Loading = true;
  const ScopeExit done([] { path_state.Loading = false; });
  path_state.ForceHKLM = trim(to_Lower(regread_Text(force_hklm.Path))) == L"1";
}

bool names_CurrentUser(std::wstring_view path) {
  return contains(path, L"HKCU") || contains(path, L"HKEY_CURRENT_USER");
}

void move_ToMachine(std::wstring& path) {
  make_BackslashesSingle(path);
  replace_All(path, L"HKCU", L"HKLM");
  replace_All(path, L"HKEY_CURRENT_USER", L"HKEY_LOCAL_MACHINE");
}

void normalise_Names(std::wstring& path) {
  replace_All(path, LR"(hklm\)", LR"(HKLM\)");
  replace_All(path, LR"(hkcu\)", LR"(HKCU\)");
  // Stored paths carry this misspelling; a lower-case "hkcr\" reads well as it is.
  replace_All(path, LR"(hlcr\)", LR"(HKCR\)");
  replace_All(path, LR"(software\)", LR"(SOFTWARE\)");
  replace_All(path, LR"(Software\)", LR"(SOFTWARE\)");
  replace_All(path, LR"(system\)", LR"(SYSTEM\)");
  replace_All(path, LR"(System\)", LR"(SYSTEM\)");
  path = apply_forceHKLM(path);
}

}  // namespace

bool is_ForceHKLM() {
  if (!path_state.ForceHKLM && !path_state.Loading)
    load_forceHKLM();
  return path_state.ForceHKLM.value_or(false);
}

std::wstring apply_forceHKLM(const std::wstring& path) {
  const bool nested = path_state.Loading;
  if (!path_state.LastInput.empty() && path == path_state.LastInput)
    return path_state.LastOutput;
  std::wstring result = path;
  if (nested || !is_ForceHKLM()) {
    make_BackslashesSingle(result);
  } else if (names_CurrentUser(path)) {
    move_ToMachine(result);
    path_state.LastInput = path;
    path_state.LastOutput = result;
  }
  return result;
}

void normalise_ForRead(std::wstring& path) {
  normalise_Names(path);
  replace_All(path, L"HKEY_LOCAL_MACHINE", L"HKLM");
  make_BackslashesSingle(path);
}

void normalise_ForWrite(std::wstring& path) {
  replace_All(path, LR"(Sofware\)", LR"(Software\)");
  normalise_Names(path);
  make_BackslashesSingle(path);
}

void normalise_ForTextWrite(std::wstring& path) {
  replace_All(path, LR"(Sofware\)", LR"(Software\)");
  normalise_Names(path);
  replace_All(path, LR"(Norvak\pdf\\to)", LR"(Norvak\pdf\to)");
  make_BackslashesSingle(path);
}
