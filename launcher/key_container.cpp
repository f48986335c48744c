#include "launcher/key_container.h"

#include "support/registry.h"
#include "support/text.h"

std::wstring get_KeyContainer() {
  for (const auto* path : {LR"(HKCU\Software\Norvak\pdf\UniqueContainerName)",
                           LR"(HKLM\Software\Norvak\pdf\UniqueContainerName)"}) {
    const auto value = regread_Text(path);
    if (const auto name = trim(value); !name.empty())
      return std::wstring(name);
  }
  return {};
}
