#include "support/registry_path.h"

#include "support/apartment.h"
#include "support/boundary.h"
#include "support/process_values.h"
#include "support/registry.h"
#include "support/settings.h"
#include "support/text.h"

namespace {

struct Rewriting {
  bool Loading = false;
  std::wstring LastInput;
  std::wstring LastOutput;
};

constinit PerApartment<Rewriting> rewriting;
constinit Settled<bool> is_forced;

void make_BackslashesSingle(std::wstring& path) {
  replace_All(path, LR"(\\)", LR"(\)");
}

// The first use reads the switch through the very family that asks for it: the calls nested in that read find
// the load under way and go on without the switch.
bool load_forceHKLM() {
  auto& loading = rewriting->Loading;
  loading = true;
  const ScopeExit done([&loading] { loading = false; });
  return trim(to_Lower(regread_Text(force_hklm.Path))) == L"1";
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
  return rewriting->Loading ? is_forced.get().value_or(false) : is_forced.get_Or(load_forceHKLM);
}

std::wstring apply_forceHKLM(const std::wstring& path) {
  auto& memory = *rewriting;
  const bool nested = memory.Loading;
  if (!memory.LastInput.empty() && path == memory.LastInput)
    return memory.LastOutput;
  std::wstring result = path;
  if (nested || !is_ForceHKLM()) {
    make_BackslashesSingle(result);
  } else if (names_CurrentUser(path)) {
    move_ToMachine(result);
    memory.LastInput = path;
    memory.LastOutput = result;
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
