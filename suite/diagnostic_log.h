// The diagnostic log: a line is a header with time, user, program and process, and the message. Settings, the
// choice of the log file and the logging component ("logging.logme") are settled with the first message and
// kept for the life of the process; so is the last message, since a message is not written twice in a row.
//
// Logging is on when "HKLM\Software\Norvak\AlwaysDebug" is "1" or "HKLM\Software\Norvak\debugpath" names a
// folder. What cannot be written (no folder, no component, a denied file) is dropped silently.
//
// The drive-root trace appends the line to \norvak.log on drive C, else D, else E, when
// "HKLM\Software\Norvak\pdf\clog" is 1. A process that traces does without the logging component.
#pragma once

#include <string>
#include <string_view>

// The log takes the folder, which ends with a backslash: some texts are leftovers of older releases.
bool is_LogFolder(std::wstring_view folder);

// The file in the folder that the lines of this process would go to.
std::wstring log_FileIn(const std::wstring& folder);

// From now on messages (log.h) go here.
void use_DiagnosticLog() noexcept;

// The settings switch the log on, whether or not its lines can be written.
bool is_LogWanted();

// The file that the lines of this process go to, or would go to while logging is off.
std::wstring find_LogFile();

// The log file's name for a process, after its executable's and the calling project's name; empty when no
// rule fits, and the log then goes to "pdf.log".
std::wstring_view choose_LogFile(std::wstring_view executable_name, std::wstring_view calling_project);
