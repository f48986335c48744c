#include "host/doctor/component_state.h"

#include <array>

#include "base/module.h"
#include "files/file_names.h"
#include "files/files.h"
#include "host/doctor/registry_views.h"
#include "suite/suite_folders.h"

namespace host {
namespace {

std::wstring find_DllInPlace(const SuiteComponent& component) {
  for (const auto& [folder, file] : component.Servers)
    if (folder != nullptr)
      if (auto path = find_InFolder(folder(), file); !path.empty())
        return path;
  return {};
}

// A name without a folder is looked for by Windows itself.
bool is_FileGone(const std::wstring& file) {
  return is_FullPath(file) && !file_Exists(file);
}

ComponentState without_Class(const SuiteComponent& component) {
  const auto file = find_DllInPlace(component);
  const auto how = file.empty() ? Reach::Missing : is_SuitesBitness ? Reach::WhenNeeded : Reach::Unregistered;
  return {&component, how, file, L""};
}

}  // namespace

ComponentState find_ComponentState(const SuiteComponent& component) {
  const auto class_id = read_Path(LR"(HKCR\)" + std::wstring(component.ProgId) + LR"(\CLSID\)", 0);
  const auto class_path = LR"(HKCR\CLSID\)" + class_id + L"\\";
  const auto find = [&](const wchar_t* value, REGSAM view) { return read_Path(class_path + value, view); };
  if (class_id.empty())
    return without_Class(component);
  if (!find(LR"(LocalServer32\)", KEY_WOW64_64KEY).empty() ||
      !find(LR"(LocalServer32\)", KEY_WOW64_32KEY).empty())
    return {&component, Reach::Direct, L"", L""};
  if (const auto file = find(LR"(InprocServer32\)", is_SuitesBitness ? 0 : KEY_WOW64_64KEY); !file.empty())
    return {&component, is_FileGone(file) ? Reach::FileGone : Reach::Direct, file, L""};
  const auto file = find(LR"(InprocServer32\)", KEY_WOW64_32KEY);
  if (file.empty())
    return without_Class(component);
  if (is_FileGone(file))
    return {&component, Reach::FileGone, file, L""};
  const auto application = find(L"AppID", KEY_WOW64_32KEY);
  const auto entry = LR"(HKCR\AppID\)" + (application.empty() ? class_id : application) + L"\\";
  const auto is_entry_there = has_Key(entry, KEY_WOW64_32KEY);
  if (!application.empty() && has_Value(entry + L"DllSurrogate", KEY_WOW64_32KEY))
    return {&component, Reach::Surrogate, file, L""};
  return {&component, Reach::Unreachable, file, !application.empty() || is_entry_there ? entry : L""};
}

bool is_Usable(const ComponentState& state) {
  return state.How == Reach::Direct || state.How == Reach::Surrogate || state.How == Reach::WhenNeeded;
}

std::wstring_view name_Of(Reach reach) {
  constexpr std::array<std::wstring_view, 7> names{L"direct",       L"surrogate", L"whenNeeded", L"missing",
                                                   L"unregistered", L"fileGone",  L"unreachable"};
  return names[static_cast<std::size_t>(reach)];
}

}  // namespace host
