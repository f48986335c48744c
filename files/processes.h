// Starting programs, and whether they run. No state.
#pragma once

#include <string>
#include <string_view>

// Starts the program of the command line, which is passed on unchanged, in the program's own folder, and does
// not wait for it. False when it could not be started. A command line without quotes comes with its program:
// the platform would try what stands before each blank.
bool launch_Program(const std::wstring& command_line, const std::wstring& program = {});

// The same with a normal window, whatever the caller's own window is like.
bool start_Program(const std::wstring& command_line);

// Whether a process of that executable name, in any case, runs in this log-on session. True where the system
// does not tell which ones run.
bool is_ProcessRunning(std::wstring_view executable_name);
