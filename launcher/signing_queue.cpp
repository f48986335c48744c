#include "launcher/signing_queue.h"

#include <comdef.h>

#include <string>

#include "base/log.h"
#include "base/text.h"
#include "components/patience.h"
#include "files/file_names.h"
#include "files/processes.h"
#include "launcher/key_container.h"
#include "launcher/messages.h"
#include "launcher/program_locators.h"
#include "launcher/translation.h"
#include "launcher/waiting_status.h"
#include "suite/value_cache.h"

namespace {

constexpr const wchar_t* queue_key = L"SignFiles";
constexpr std::wstring_view separator = L"|";
constexpr int longest_wait_passes = 60;
constexpr int passes_per_dot = 3;
constexpr DWORD pass_milliseconds = 1000;

// The full paths as the worker reads them.
std::wstring collect(std::span<const FileEntry> files) {
  std::wstring list;
  for (const auto& entry : files) {
    if (entry.path().empty())
      break;
    const auto file = exact_Path(entry.path());
    // No file system has such a name, and the worker would take it for several.
    if (file.empty() || contains(file, separator))
      continue;
    debug_Log(L"Passing ", file);
    list.append(list.empty() ? L"" : separator).append(file);
  }
  return list;
}

// The last key is answered from memory; only after another one does the store tell what the worker left.
std::wstring reread_Queue() {
  get_PermanentCache(L"MenuMode");
  return get_PermanentCache(queue_key);
}

// A queue that no worker works off was left behind by one that died; but another program may have written it
// just now, and its worker may be starting.
void clear_StaleQueue() {
  constexpr int looks = 12;
  constexpr DWORD look_milliseconds = 250;
  const auto queue = get_PermanentCache(queue_key);
  for (int look = 0;; ++look) {
    if (queue.empty() || is_ProcessRunning(L"NorvakWorkerProcess.exe") || reread_Queue() != queue)
      return;
    if (look == looks)
      break;
    wait_AndPaint(nullptr, look_milliseconds);
  }
  set_PermanentCache(queue_key, L"");
}

// False when the user cancelled.
bool wait_ForEmptyQueue() {
  const auto text = translate_String(L"Signatur Process active - waiting");
  WaitingStatus status(text);
  if (FAILED(status.problem()))
    debug_Log(L"Signature Process Problem: ", _com_error(status.problem()).ErrorMessage());
  for (int pass = 1; pass <= longest_wait_passes; ++pass) {
    status.show(text + L" " + std::wstring(static_cast<std::size_t>(pass / passes_per_dot), L'.'));
    if (reread_Queue().empty())
      return true;
    if (!status.wait(pass_milliseconds))
      return false;
  }
  set_PermanentCache(queue_key, L"");
  return true;
}

// An order that nobody carries out would keep the next one waiting.
void start_Worker(const std::wstring& worker, const std::wstring& list) {
  set_PermanentCache(queue_key, list);
  const auto command = quoted(worker) + L" signit";
  debug_Log(command);
  if (start_Program(command))
    return;
  set_PermanentCache(queue_key, L"");
  tell_Failure(L"The signing program could not be started.", {worker});
}

void pass_ToWorker(const std::wstring& list) {
  const auto worker = find_WorkerProcess();
  if (worker.empty()) {
    tell_Failure(L"The signing program was not found.");
    return;
  }
  clear_StaleQueue();
  if (const auto queue = get_PermanentCache(queue_key); !queue.empty()) {
    debug_Log(L"Signature Process active: ", queue);
    if (!wait_ForEmptyQueue())
      return;
  }
  if (const auto queue = get_PermanentCache(queue_key); !queue.empty())
    debug_Log(L"Cache not empty: ", queue);
  else
    start_Worker(worker, list);
}

}  // namespace

void queue_ForSigning(std::span<const FileEntry> files) {
  debug_Log(L"called action signit");
  if (get_KeyContainer().empty())
    return;
  const auto list = collect(files);
  debug_Log(L"Signlist: ", list);
  if (!list.empty())
    pass_ToWorker(list);
}
