#include "base/log.h"

#include <atomic>
#include <string>

#include "base/boundary.h"
#include "base/text.h"

namespace {

constinit std::atomic<const LogSink*> sink = nullptr;

}  // namespace

void set_LogSink(const LogSink& new_sink) noexcept {
  sink = &new_sink;
}

bool is_LogOn() noexcept {
  const auto* own = sink.load();
  return own != nullptr && own->IsOn();
}

void debug_Log(std::wstring_view message) noexcept {
  if (is_LogOn())
    sink.load()->Write(message);
}

void debug_Log(std::wstring_view label, std::wstring_view text) noexcept {
  if (is_LogOn())
    run_Guarded([&] { debug_Log(std::wstring(label).append(text)); });
}

void debug_Log(std::wstring_view label, long number) noexcept {
  if (is_LogOn())
    run_Guarded([&] { debug_Log(std::wstring(label).append(decimal(number))); });
}

void trace_Message(std::wstring_view message) noexcept {
  if (const auto* own = sink.load())
    own->Trace(message);
}
