// menuhost.exe: a console program that plays Explorer for the Norvak context menu.
#include <windows.h>

#include "host/program.h"

int wmain() {
  return host::run_CommandLine(GetCommandLineW());
}
