// menuhost.exe: a console program that plays Explorer for the Norvak context menu.
#include <ole2.h>
#include <windows.h>

#include <cstring>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/arguments.h"
#include "host/commands.h"
#include "host/failure.h"
#include "host/output.h"
#include "host/version.h"

namespace {

/// COM on this thread for as long as the object lives; every interface must be released before it ends.
class ComApartment {
 public:
  ComApartment() {
    if (FAILED(OleInitialize(nullptr))) {
      throw host::Failure{L"COM cannot be started."};
    }
  }
  ~ComApartment() {
    // The extension's DLL leaves while COM still stands: its own last steps may need COM.
    CoFreeUnusedLibraries();
    OleUninitialize();
  }
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
};

int run_program(std::span<const std::wstring_view> words) {
  const host::Arguments arguments = host::parse_arguments(words);
  if (arguments.WantsHelp) {
    host::print_text(host::describe_usage());
    return host::exit_success;
  }
  if (arguments.WantsVersion) {
    host::print_text(L"menuhost " + std::wstring(host::ProgramVersion) + L"\n");
    return host::exit_success;
  }
  const ComApartment apartment;
  return host::run_command(arguments);
}

}  // namespace

int wmain(int count, wchar_t** words) {
  try {
    return run_program(std::vector<std::wstring_view>(words + 1, words + count));
  } catch (const host::Failure& failure) {
    host::print_note(failure.Sentence);
    return failure.ExitStatus;
  } catch (const std::exception& error) {
    host::print_note(L"The program cannot go on: " +
                     std::wstring(error.what(), error.what() + std::strlen(error.what())));
    return host::exit_failure;
  }
}
