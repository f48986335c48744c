// What ends the program early: one sentence for the user and the exit status that goes with it. Keeps no
// state.
#pragma once

#include <string>
#include <string_view>

namespace host {

constexpr int exit_success = 0;
constexpr int exit_failure = 1;
constexpr int exit_wrong_usage = 2;

/// The text between double quotes, for a sentence.
std::wstring quote_text(std::wstring_view text);

/// A result code in the form 0x80004005.
std::wstring format_result(long result);

/// Thrown by whatever cannot go on; run_words prints the sentence on stderr and gives the status.
struct Failure {
  std::wstring Sentence;
  int ExitStatus = exit_failure;
};

}  // namespace host
