#include "suite/pkcs7_icons.h"

#include <string>

#include "settings/registry.h"
#include "settings/settings.h"
#include "suite/suite_folders.h"

namespace {

void repair_Icon(const wchar_t* path, std::wstring_view icon) {
  if (!is_Empty(regread(path)))
    return;
  const auto file = find_InFolder(get_InstallFolder(), icon);
  if (!file.empty())
    regwrite_sz(path, file);
}

}  // namespace

void repair_Pkcs7Icons() {
  repair_Icon(envelope_icon.Path, L"p7m.ico");
  repair_Icon(signature_icon.Path, L"p7s.ico");
}
