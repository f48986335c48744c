#include "support/value_cache.h"

#include <algorithm>
#include <array>

#include "support/automation.h"
#include "support/boundary.h"
#include "support/component_lifetime.h"
#include "support/diagnostic_log.h"
#include "support/registry.h"
#include "support/selection_state.h"
#include "support/suite_folders.h"
#include "support/text.h"

namespace {

struct {
  KeptObject Store;
  std::wstring LastKey;
  std::wstring LastValue;
  bool Loading = false;
  bool Reading = false;
  bool Writing = false;
} cache_state;  // lives as long as the module

// How long a component in another process may wait for the present holder.
constexpr DWORD longest_wait = 15'000;

// Other processes wait while this object lives.
AutomationObject take_Semaphore(const wchar_t* caller) {
  const auto folder = get_CommonProgramFolder();
  auto semaphore =
      create_OrRegister(L"NorvakInter.SemaPhore",
                        {folder + L"NorvakInter.dll", folder + LR"(norvak\NorvakInter.dll)"}, longest_wait);
  const long number = 666;
  const short kind = 6;
  call_Member(semaphore.Get(), L"WaitingForSemaphore", {caller, number, kind});
  return semaphore;
}

void create_Store() {
  release_Later(KeptUntil::ModuleUnloads, [] { cache_state.Store.release(); });
  const auto semaphore = take_Semaphore(L"load_permcache");
  constexpr std::wstring_view server = L"NorvakCertInstaller.dll";
  cache_state.Store.keep(
      create_OrRegister(L"NorvakCertInstaller.iCache",
                        {get_CommonProgramFolder().append(server), get_InstallFolder().append(server)}));
}

// Both or neither: they come as copies, since memory may run out in between.
void remember(std::wstring key, std::wstring value) {
  cache_state.LastKey.swap(key);
  cache_state.LastValue.swap(value);
}

bool counts_FromZero(const std::wstring& key) {
  static constexpr std::array<std::wstring_view, 4> counters{L"key", L"saverkey", L"crypterkey", L"cspkey"};
  return std::ranges::find(counters, key) != counters.end();
}

std::wstring read_Store(const std::wstring& key) {
  const auto semaphore = take_Semaphore(L"PermanentCache");
  load_permcache();
  const auto answer = call_Member(cache_state.Store.get(), L"get_PIN", {text_Argument(key)});
  const auto value = answer ? as_Text(*answer) : std::wstring();
  remember(key, value);
  return value.empty() && counts_FromZero(key) ? L"0" : value;
}

void write_Store(const std::wstring& key, const std::wstring& value) {
  load_permcache();
  if (contains(to_Lower(key), L"readerlock"))
    debug_Log(L"Permanent Cache: ", key);
  const auto semaphore = take_Semaphore(L"set_PermanentCache");
  call_Member(cache_state.Store.get(), L"set_PIN", {text_Argument(key), text_Argument(value)});
  remember(key, value);
}

bool is_Unchanged(const std::wstring& key, const std::wstring& value) {
  return !cache_state.LastKey.empty() && !cache_state.LastValue.empty() && value == cache_state.LastValue &&
         key == cache_state.LastKey;
}

}  // namespace

VARIANT_BOOL load_permcache() {
  if (is_Quiet() || cache_state.Loading)
    return VARIANT_FALSE;
  cache_state.Loading = true;
  const ScopeExit done([] { cache_state.Loading = false; });
  if (!is_Alive(cache_state.Store.get()))
    create_Store();
  return to_VariantBool(cache_state.Store.get() != nullptr);
}

std::wstring get_PermanentCache(const std::wstring& key) {
  if (is_Quiet())
    return {};
  // The remembered value comes as it was stored, without the counters' "0".
  if (!cache_state.LastKey.empty() && cache_state.LastKey == key)
    return cache_state.LastValue;
  if (cache_state.Reading)
    return {};
  cache_state.Reading = true;
  const ScopeExit done([] { cache_state.Reading = false; });
  return read_Store(key);
}

VARIANT_BOOL set_PermanentCache(const std::wstring& key, const std::wstring& value) {
  if (is_Quiet() || trim(key).empty() || cache_state.Writing)
    return VARIANT_FALSE;
  cache_state.Writing = true;
  const ScopeExit done([] { cache_state.Writing = false; });
  if (!is_Unchanged(key, value))
    write_Store(key, value);
  return VARIANT_FALSE;
}
