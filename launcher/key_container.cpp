#include "launcher/key_container.h"

#include "base/text.h"
#include "settings/registry.h"
#include "settings/settings.h"

std::wstring get_KeyContainer() {
  for (const auto* path : {users_container.Path, machines_container.Path}) {
    const auto value = regread_Text(path);
    if (const auto name = trim(value); !name.empty())
      return std::wstring(name);
  }
  return {};
}
