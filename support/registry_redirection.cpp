#include "support/registry_redirection.h"

#include <optional>

#include "support/boundary.h"
#include "support/diagnostic_log.h"
#include "support/registry_path.h"
#include "support/script_host.h"
#include "support/settings.h"
#include "support/text.h"

namespace {

struct {
  bool PermtestRunning = false;
  std::optional<bool> MayWriteToMachine;  // settled by the write test
} redirection_state;                      // lives as long as the process

}  // namespace

void permtest(std::wstring_view test_path) {
  if (redirection_state.MayWriteToMachine || redirection_state.PermtestRunning)
    return;
  redirection_state.PermtestRunning = true;
  const ScopeExit done([] { redirection_state.PermtestRunning = false; });
  trace_Message(L"entering permtest");
  redirection_state.MayWriteToMachine = try_Write(test_path.empty() ? write_test.Path : test_path);
  trace_Message(L"finished permtest");
}

bool redirect_ToUser(std::wstring& path) {
  permtest();
  const bool per_user = !redirection_state.MayWriteToMachine.value_or(true) && !is_ForceHKLM();
  if (!per_user || !contains(path, machine_branch))
    return false;
  replace_All(path, machine_branch, users_branch);
  path = apply_forceHKLM(path);
  return true;
}

std::wstring back_ToMachine(std::wstring path) {
  replace_All(path, users_branch, machine_branch);
  return apply_forceHKLM(path);
}
