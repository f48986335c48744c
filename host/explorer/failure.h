// What ends the program early: one sentence for the user and the exit status that goes with it.
#pragma once

#include <string>

namespace host {

constexpr int exit_success = 0;
constexpr int exit_failure = 1;
constexpr int exit_wrong_usage = 2;
constexpr int exit_problems = 3;  // the doctor has found some

// A result code in the form 0x80004005.
std::wstring format_Result(long result);

// Thrown where the program cannot go on; `run_CommandLine` prints the sentence on stderr and returns the
// status.
struct Failure {
  std::wstring Sentence;
  int ExitStatus = exit_failure;
};

}  // namespace host
