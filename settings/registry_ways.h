// What goes to the registry provider first and other ways where that gives no answer. No state.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "settings/registry_provider.h"
#include "settings/script_host.h"

// What the provider decided, or the outcome of the other ways; the log gets the member's name.
template <typename OtherWays>
bool succeeds(const std::optional<ProviderAnswer>& answer, std::wstring_view member, OtherWays other_ways) {
  if (answer)
    return answer->ReturnCode == 0;
  ensure_ScriptHost(member);
  return other_ways();
}

// Removes the value of the place, which the script host knows by the path. False when it is missing.
bool delete_FromRegistry(const RegistryPlace& place, const std::wstring& path) noexcept;
