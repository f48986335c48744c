// What all rooms write to the diagnostic log with. Where the lines go is the matter of one sink, which is set
// before the first object (suite: diagnostic_log.h); without one, the log is off. The state is the sink.
#pragma once

#include <string_view>

struct LogSink {
  bool (*IsOn)() noexcept;
  void (*Write)(std::wstring_view message) noexcept;
  void (*Trace)(std::wstring_view message) noexcept;
};

// From now on the sink, which must outlive all messages, takes them.
void set_LogSink(const LogSink& sink) noexcept;

// Whether a message would be written at all; what only the log reads need not be worked out otherwise.
bool is_LogOn() noexcept;

// Writes one line. What cannot be written is dropped silently.
void debug_Log(std::wstring_view message) noexcept;

// The same with a text or a decimal number behind a label; nothing is put together while logging is off.
void debug_Log(std::wstring_view label, std::wstring_view text) noexcept;
void debug_Log(std::wstring_view label, long number) noexcept;

// Writes one line to the trace in the root of a drive, if that is on.
void trace_Message(std::wstring_view message) noexcept;
