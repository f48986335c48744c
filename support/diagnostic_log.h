// The diagnostic log: one call for every message, cheap while logging is off. Settings, the choice of the log
// file and the logging component ("logging.logme") are settled with the first message and kept for the life
// of the process; so is the last message, since a message is not written twice in a row.
//
// Logging is on when "HKLM\Software\Norvak\AlwaysDebug" is "1" or "HKLM\Software\Norvak\debugpath" names a
// folder. What cannot be written (no folder, no component, a denied file) is dropped silently.
#pragma once

#include <string>
#include <string_view>

// Whether a message would be written at all; what only the log reads need not be worked out otherwise.
bool is_LogOn() noexcept;

// The file that the lines of this process go to, or would go to while logging is off.
std::wstring find_LogFile();

// Writes one line: a header with time, user, program and process, and the message.
void debug_Log(std::wstring_view message) noexcept;

// The same with a text or a decimal number behind a label; nothing is put together while logging is off.
void debug_Log(std::wstring_view label, std::wstring_view text) noexcept;
void debug_Log(std::wstring_view label, long number) noexcept;

// The drive-root trace: appends the line to \norvak.log on drive C, else D, else E, when
// "HKLM\Software\Norvak\pdf\clog" is 1. A process that traces does without the logging component.
void trace_Message(std::wstring_view message) noexcept;

// The log file's name for a process, after its executable's and the calling project's name; empty when no
// rule fits, and the log then goes to "pdf.log".
std::wstring_view choose_LogFile(std::wstring_view executable_name, std::wstring_view calling_project);
