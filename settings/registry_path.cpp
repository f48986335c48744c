#include "settings/registry_path.h"

#include "base/process_values.h"
#include "base/text.h"

namespace {

constinit Settled<bool> is_forced;

void make_BackslashesSingle(std::wstring& path) {
  replace_All(path, LR"(\\)", LR"(\)");
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

bool is_ForceHKLMSettled() {
  return is_forced.get().has_value();
}

bool is_ForceHKLM() {
  return is_forced.get().value_or(false);
}

void settle_ForceHKLM(std::wstring_view text) {
  is_forced.settle(trim(to_Lower(text)) == L"1");
}

std::wstring apply_forceHKLM(std::wstring_view path) {
  std::wstring result(path);
  if (!is_ForceHKLM())
    make_BackslashesSingle(result);
  else if (names_CurrentUser(path))
    move_ToMachine(result);
  return result;
}

std::wstring normalised_ForRead(std::wstring_view path) {
  std::wstring result(path);
  normalise_Names(result);
  replace_All(result, L"HKEY_LOCAL_MACHINE", L"HKLM");
  make_BackslashesSingle(result);
  return result;
}

std::wstring normalised_ForWrite(std::wstring_view path) {
  std::wstring result(path);
  replace_All(result, LR"(Sofware\)", LR"(Software\)");
  normalise_Names(result);
  make_BackslashesSingle(result);
  return result;
}
