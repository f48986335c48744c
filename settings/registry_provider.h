// The registry provider of the system's management service (class StdRegProv), called by method names. The
// connection is kept until the module unloads or a call does not get through; the next call makes it again.
#pragma once

#include <windows.h>

#include <comutil.h>
#include <wbemcli.h>
#include <wrl/client.h>

#include <utility>

#include "settings/registry_api.h"

using ProviderArgument = std::pair<const wchar_t*, _variant_t>;  // name and value

struct ProviderAnswer {
  long ReturnCode;  // 0 for success
  Microsoft::WRL::ComPtr<IWbemClassObject> Results;

  // An out-parameter; empty when the method did not set it.
  _variant_t get(const wchar_t* name) const;
};

// Calls a method for the key. Nothing when provider or method is missing or the call did not get through.
std::optional<ProviderAnswer> call_Provider(const wchar_t* method, const RegistryPlace& place,
                                            std::vector<ProviderArgument> arguments = {}) noexcept;
