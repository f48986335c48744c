#include "host/program.h"

#include <ole2.h>
#include <windows.h>

#include <exception>
#include <string>

#include "base/text.h"
#include "host/arguments.h"
#include "host/commands.h"
#include "host/explorer/failure.h"
#include "host/language.h"
#include "host/output.h"
#include "host/version.h"
#include "suite/diagnostic_log.h"

namespace host {
namespace {

// COM on this thread for as long as the object lives; every interface must be released before it ends.
class ComApartment {
 public:
  ComApartment() {
    if (FAILED(OleInitialize(nullptr)))
      throw Failure{say(TEXT_NO_COM)};
  }
  ~ComApartment() {
    // The extension's DLL leaves while COM still stands: its own last steps may need COM. What it does in the
    // background has a little time, since a process had better not end in the middle of it.
    constexpr int looks = 100;
    for (int look = 0; look < looks; ++look, Sleep(20)) {
      CoFreeUnusedLibraries();
      if (GetModuleHandleW(L"NorvakContextMenu.dll") == nullptr)
        break;
    }
    OleUninitialize();
  }
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
};

int run_Program(std::wstring_view command_line) {
  const auto arguments = parse_Arguments(split_CommandLine(command_line));
  if (arguments.WantsHelp) {
    print_Text(describe_Usage(arguments.Command));
    return exit_success;
  }
  if (arguments.WantsVersion) {
    const std::wstring version(program_version);
    print_Text((is_DevelopmentBuild ? say(TEXT_DEVELOPMENT_VERSION, {version}) : L"menuhost " + version) +
               L"\n");
    return exit_success;
  }
  use_DiagnosticLog();
  const ComApartment apartment;
  return run_Command(arguments);
}

}  // namespace

int run_CommandLine(std::wstring_view command_line) {
  try {
    return run_Program(command_line);
  } catch (const Failure& failure) {
    print_Note(failure.Sentence);
    return failure.ExitStatus;
  } catch (const std::exception& error) {
    print_Note(say(TEXT_CANNOT_GO_ON, {from_Ansi(error.what())}));
    return exit_failure;
  }
}

}  // namespace host
