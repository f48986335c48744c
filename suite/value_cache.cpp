#include "suite/value_cache.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "base/apartment.h"
#include "base/boundary.h"
#include "base/log.h"
#include "base/process_values.h"
#include "base/text.h"
#include "components/automation.h"
#include "components/remote_component.h"
#include "settings/registry.h"
#include "suite/component_list.h"

namespace {

struct Cache {
  AutomationObject Store;
  bool IsHeldRemotely = false;  // the semaphore, by this thread
  bool Loading = false;
  bool Reading = false;
  bool Writing = false;
};

// What was read or written last.
struct Memory {
  std::wstring Key;
  std::wstring Value;
};

constinit PerApartment<Cache> cache;
constinit Guarded<std::optional<Memory>> memory;

// Other processes wait while this lives. A component in the same process lets its thread hold it once more;
// one that serves several programs cannot know whose objects it has, so this thread does not ask it again.
class SemaphoreHold {
 public:
  explicit SemaphoreHold(const wchar_t* caller) {
    auto& own = *cache;
    if (own.IsHeldRemotely)
      return;
    m_semaphore = create_Component(semaphore_component);
    const long number = 666;
    const short kind = 6;
    call_Member(m_semaphore.Get(), L"WaitingForSemaphore", {caller, number, kind});
    own.IsHeldRemotely = m_is_remote = is_Remote(m_semaphore.Get());
  }
  ~SemaphoreHold() {
    if (m_is_remote)
      cache->IsHeldRemotely = false;
  }
  SemaphoreHold(const SemaphoreHold&) = delete;
  SemaphoreHold& operator=(const SemaphoreHold&) = delete;

 private:
  AutomationObject m_semaphore;
  bool m_is_remote = false;
};

void create_Store() {
  const SemaphoreHold hold(L"load_permcache");
  cache->Store = create_Component(store_component);
}

// Both or neither: they come as copies, since memory may run out in between.
void remember(std::wstring key, std::wstring value) {
  memory.with([&](std::optional<Memory>& last) {
    if (last) {
      last->Key.swap(key);
      last->Value.swap(value);
    } else {
      last = Memory{std::move(key), std::move(value)};
    }
  });
}

bool counts_FromZero(const std::wstring& key) {
  static constexpr std::array<std::wstring_view, 4> counters{L"key", L"saverkey", L"crypterkey", L"cspkey"};
  return std::ranges::find(counters, key) != counters.end();
}

std::wstring read_Store(const std::wstring& key) {
  const SemaphoreHold hold(L"PermanentCache");
  load_permcache();
  const auto answer = call_Member(cache->Store.Get(), L"get_PIN", {text_Argument(key)});
  const auto value = answer ? as_Text(*answer) : std::wstring();
  remember(key, value);
  return value.empty() && counts_FromZero(key) ? L"0" : value;
}

void write_Store(const std::wstring& key, const std::wstring& value) {
  load_permcache();
  if (contains(to_Lower(key), L"readerlock"))
    debug_Log(L"Permanent Cache: ", key);
  const SemaphoreHold hold(L"set_PermanentCache");
  call_Member(cache->Store.Get(), L"set_PIN", {text_Argument(key), text_Argument(value)});
  remember(key, value);
}

bool is_Unchanged(const std::wstring& key, const std::wstring& value) {
  return memory.with([&](const auto& last) {
    return last && !last->Key.empty() && !last->Value.empty() && value == last->Value && key == last->Key;
  });
}

}  // namespace

bool load_permcache() {
  auto& own = *cache;
  const UnderWay loading(own.Loading);
  if (is_Quiet() || loading.is_Nested())
    return false;
  if (!is_Alive(own.Store.Get()))
    create_Store();
  return own.Store != nullptr;
}

std::wstring get_PermanentCache(const std::wstring& key) {
  if (is_Quiet())
    return {};
  // The remembered value comes as it was stored, without the counters' "0".
  if (!key.empty())
    if (auto last = memory.with([](const auto& known) { return known; }); last && last->Key == key)
      return last->Value;
  const UnderWay reading(cache->Reading);
  return reading.is_Nested() ? std::wstring() : read_Store(key);
}

void set_PermanentCache(const std::wstring& key, const std::wstring& value) {
  const UnderWay writing(cache->Writing);
  if (!is_Quiet() && !trim(key).empty() && !writing.is_Nested() && !is_Unchanged(key, value))
    write_Store(key, value);
}
