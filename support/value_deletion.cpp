#include "support/value_deletion.h"

#include "support/automation.h"
#include "support/ini_settings.h"
#include "support/registry_member.h"

bool deletevalue(std::wstring_view path, std::wstring_view mark) {
  return administer(path, Target::WrittenValue, [mark](const auto& place, const auto& repaired) {
    const bool was_in_ini = mark != force_registry && is_KeptInIni(repaired) && delete_FromIni(repaired);
    const auto answer = call_Provider(L"DeleteValue", place, {{L"sValueName", text_Argument(place.Name)}});
    const bool was_in_registry = succeeds(answer, L"deletevalue", [&] {
      return delete_ByScriptHost(repaired) ||
             RegDeleteValueW(open_Key(place, KEY_SET_VALUE).get(), place.Name.c_str()) == ERROR_SUCCESS;
    });
    return was_in_ini || was_in_registry;
  });
}
