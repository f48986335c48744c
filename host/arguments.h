// The command line of the host: one command, its operands, and options before or after them. The options are
// a table, so that parsing and the usage text cannot disagree. No state.
#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct Arguments {
  std::wstring Command;
  std::vector<std::wstring> Operands;
  UINT QueryFlags = 0;
  UINT FirstId = 100;      // Explorer keeps the low identifiers for its own entries
  UINT SecondsBefore = 0;  // from a first right-click to the one that counts; 0: there is no first one
  bool IsJson = false;
  bool IsVerbose = false;
  bool WantsHelp = false;
  bool WantsVersion = false;
};

// Splits the words after the program name; throws a Failure for an unknown option or a bad value.
Arguments parse_Arguments(std::span<const std::wstring_view> words);

// The whole text as a number, decimal or with a leading 0x; throws a Failure that names `meaning` when it is
// none or lies above `highest`.
UINT parse_Number(std::wstring_view text, std::wstring_view meaning, UINT highest);

// The lines of the usage text that explain the options.
std::wstring describe_Options();

}  // namespace host
