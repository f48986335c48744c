#include "settings/script_host.h"

#include "base/apartment.h"
#include "base/log.h"
#include "components/automation.h"
#include "components/object_creation.h"
#include "settings/registry_api.h"
#include "settings/registry_view.h"
#include "settings/settings.h"

namespace {

constinit PerApartment<AutomationObject> shell;

bool create_Shell() {
  *shell = create_Object(L"WScript.Shell");
  return has_ScriptHost();
}

}  // namespace

void ensure_ScriptHost(std::wstring_view caller) {
  const bool works =
      call_Member(shell->Get(), L"RegRead", {text_Argument(in_SuiteView(write_test.Path))}).has_value();
  if (!works && !create_Shell())
    debug_Log(L"regi.CreateCOMObject wscript.shell failed in ", caller);
}

bool has_ScriptHost() {
  return *shell != nullptr;
}

std::wstring read_ByScriptHost(std::wstring_view path) {
  return ask_Views(path, [](std::wstring_view path_in_view) {
    const auto answer = call_Member(shell->Get(), L"RegRead", {text_Argument(path_in_view)});
    return answer ? as_Text(*answer) : std::wstring();
  });
}

bool write_ByScriptHost(std::wstring_view path, const _variant_t& value, const wchar_t* type) {
  return call_Member(shell->Get(), L"RegWrite", {text_Argument(in_SuiteView(path)), value, type}).has_value();
}

bool delete_ByScriptHost(std::wstring_view path) {
  return !path.ends_with(L'\\') &&
         call_Member(shell->Get(), L"RegDelete", {text_Argument(in_SuiteView(path))}).has_value();
}

bool try_Write(std::wstring_view path) {
  if (!has_ScriptHost())
    create_Shell();
  const long test_value = 1;
  return write_ByScriptHost(path, test_value, L"REG_DWORD");
}
