// What the host prints: UTF-16 on a console, else UTF-8 with the line ends of files, on stdout and stderr. No
// state.
#pragma once

#include <string>
#include <string_view>

namespace host {

// Prints the text on stdout; its lines end with "\n".
void print_Text(std::wstring_view text);

// Prints the text on stderr as a line that begins with the program's name.
void print_Note(std::wstring_view sentence);

// Puts a colour on the first letter of each line that begins with "+ " (green) or "- " (red), where stdout is
// a console that shows colours and nobody has asked for none (NO_COLOR).
std::wstring colour_Marks(std::wstring_view lines);

}  // namespace host
