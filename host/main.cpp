// menuhost.exe: a console program that plays Explorer for the Norvak context menu.
#include <windows.h>

#include "host/program.h"
#include "runtime/stack_guard.h"

// It chooses the value that guards all other frames.
__attribute__((no_stack_protector)) int wmain() {
  choose_StackGuard();
  return host::run_CommandLine(GetCommandLineW());
}
