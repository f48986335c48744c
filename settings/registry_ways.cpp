#include "settings/registry_ways.h"

#include "base/boundary.h"
#include "components/automation.h"

bool delete_FromRegistry(const RegistryPlace& place, const std::wstring& path) noexcept {
  return run_Guarded(false, [&] {
    const auto answer = call_Provider(L"DeleteValue", place, {{L"sValueName", text_Argument(place.Name)}});
    return succeeds(answer, L"deletevalue", [&] {
      return delete_ByScriptHost(path) ||
             RegDeleteValueW(open_Key(place, KEY_SET_VALUE).get(), place.Name.c_str()) == ERROR_SUCCESS;
    });
  });
}
