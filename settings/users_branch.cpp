#include "settings/users_branch.h"

#include "base/account.h"
#include "base/apartment.h"
#include "base/boundary.h"
#include "base/log.h"
#include "base/process_values.h"
#include "base/text.h"
#include "settings/registry_path.h"
#include "settings/script_host.h"
#include "settings/settings.h"

namespace {

struct WriteTest {
  bool IsRunning = false;
};

constinit PerApartment<WriteTest> write_test_run;
constinit Settled<bool> may_WriteToMachine;  // by the write test

}  // namespace

void permtest(std::wstring_view test_path) {
  const UnderWay run(write_test_run->IsRunning);
  if (may_WriteToMachine.get() || run.is_Nested())
    return;
  trace_Message(L"entering permtest");
  may_WriteToMachine.settle(try_Write(test_path.empty() ? write_test.Path : test_path));
  trace_Message(L"finished permtest");
}

std::wstring users_Path(std::wstring_view asked) {
  permtest();
  const bool per_user = !is_Elevated() && !may_WriteToMachine.get().value_or(true) && !is_ForceHKLM();
  if (!per_user || !contains(asked, machine_branch))
    return {};
  std::wstring moved(asked);
  replace_All(moved, machine_branch, users_branch);
  return apply_forceHKLM(moved);
}

std::wstring written_Path(std::wstring_view path) {
  auto moved = users_Path(path);
  return moved.empty() ? std::wstring(path) : moved;
}
