#include "settings/registry_watch.h"

#include <utility>

#include "base/boundary.h"
#include "settings/registry_api.h"
#include "settings/registry_view.h"
#include "settings/settings.h"

namespace {

// Has the event set by the next change below the branch; by its making, where it is missing.
unique_hkey watch_Branch(const RegistryPlace& branch, HANDLE event) {
  constexpr DWORD names = REG_NOTIFY_CHANGE_NAME;
  HKEY parent = nullptr;
  RegOpenKeyExW(branch.Root, branch.Key.c_str(), 0, KEY_READ, &parent);
  unique_hkey above(parent);
  HKEY key = nullptr;
  RegOpenKeyExW(parent, branch.Name.c_str(), 0, KEY_READ, &key);
  unique_hkey suites(key);
  if (suites)
    return RegNotifyChangeKeyValue(key, TRUE, names | REG_NOTIFY_CHANGE_LAST_SET, event, TRUE) ==
                   ERROR_SUCCESS
               ? std::move(suites)
               : unique_hkey();
  return parent != nullptr && RegNotifyChangeKeyValue(parent, FALSE, names, event, TRUE) == ERROR_SUCCESS
             ? std::move(above)
             : unique_hkey();
}

}  // namespace

bool RegistryWatch::is_Unchanged() noexcept {
  if (!m_keys.empty() && WaitForSingleObject(m_changed.get(), 0) == WAIT_TIMEOUT)
    return true;
  m_keys.clear();  // their ends count as changes
  if (!run_Guarded(false, [this] { return watch(); }))
    m_keys.clear();
  return false;
}

bool RegistryWatch::watch() {
  m_changed.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  if (!m_changed)
    return false;
  bool is_watched = true;
  for (const auto branch : settings_branches)
    ask_Views(branch, [&](std::wstring_view path) {
      m_keys.push_back(watch_Branch(find_Place(path), m_changed.get()));
      is_watched &= m_keys.back() != nullptr;
      return false;  // the other view is asked too
    });
  return is_watched;
}
