// Starting programs. No state.
#pragma once

#include <string>

// Starts the program of the command line, which is passed on unchanged but for the code page, with a normal
// window, and does not wait for it. False when it could not be started.
bool start_Program(const std::wstring& command_line);
