// What ends the program early: one sentence for the user and the exit status that goes with it. Keeps no
// state.
#pragma once

#include <string>

namespace host {

constexpr int exit_success = 0;
constexpr int exit_failure = 1;
constexpr int exit_wrong_usage = 2;

/// Thrown by whatever cannot go on; run_words prints the sentence on stderr and gives the status.
struct Failure {
  std::wstring Sentence;
  int ExitStatus = exit_failure;
};

}  // namespace host
