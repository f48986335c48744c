#include "support/registry_redirection.h"

#include "support/apartment.h"
#include "support/boundary.h"
#include "support/log.h"
#include "support/process_values.h"
#include "support/registry_path.h"
#include "support/script_host.h"
#include "support/settings.h"
#include "support/text.h"

namespace {

struct WriteTest {
  bool IsRunning = false;
};

constinit PerApartment<WriteTest> write_test_run;
constinit Settled<bool> may_WriteToMachine;  // by the write test

}  // namespace

void permtest(std::wstring_view test_path) {
  auto& is_running = write_test_run->IsRunning;
  if (may_WriteToMachine.get() || is_running)
    return;
  is_running = true;
  const ScopeExit done([&is_running] { is_running = false; });
  trace_Message(L"entering permtest");
  may_WriteToMachine.settle(try_Write(test_path.empty() ? write_test.Path : test_path));
  trace_Message(L"finished permtest");
}

std::wstring users_Path(std::wstring_view path) {
  permtest();
  const bool per_user = !may_WriteToMachine.get().value_or(true) && !is_ForceHKLM();
  if (!per_user || !contains(path, machine_branch))
    return {};
  std::wstring moved(path);
  replace_All(moved, machine_branch, users_branch);
  return apply_forceHKLM(moved);
}

std::wstring written_Path(std::wstring_view path) {
  auto moved = users_Path(path);
  return moved.empty() ? std::wstring(path) : moved;
}
