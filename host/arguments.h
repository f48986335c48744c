// The command line of the host: one command, its operands, and options before or after them. The options are
// a table, so that parsing and the help cannot disagree. No state.
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
  std::vector<std::wstring_view> Options;  // the names of those that were given
  UINT QueryFlags = 0;
  UINT FirstId = 100;      // Explorer keeps the low identifiers for its own entries
  UINT SecondsBefore = 0;  // from a first right-click to the one that counts; 0: there is no first one
  UINT LineCount = 20;
  bool IsJson = false;
  bool IsVerbose = false;
  bool IsAll = false;
  bool IsModern = false;  // the first menu of Windows 11
  bool WantsHelp = false;
  bool WantsVersion = false;
};

// The words of a command line behind the first, which is the program. Blanks are between them, except within
// quotes. A backslash is one everywhere: the platform's own rule takes the one in "E:\" for a part of the
// quote, and all that follows for the same word, while no path has a quote in it.
std::vector<std::wstring> split_CommandLine(std::wstring_view command_line);

// Takes the words as what they mean; throws a Failure for an unknown option or a bad value.
Arguments parse_Arguments(std::span<const std::wstring> words);

// Throws a Failure for an option that the command does not have.
void require_OwnOptions(const Arguments& arguments);

// The whole text as a number, decimal or with a leading 0x; throws a Failure that names `meaning` when it is
// none or lies outside of these limits.
UINT parse_Number(std::wstring_view text, std::wstring_view meaning, UINT highest, UINT lowest = 0);

// The lines of the help that explain the options of the command; those of all commands where none is named.
std::wstring describe_Options(std::wstring_view command);

}  // namespace host
