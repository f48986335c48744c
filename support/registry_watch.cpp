#include "support/registry_watch.h"

#include <array>
#include <span>
#include <utility>

#include "support/boundary.h"
#include "support/module.h"

namespace {

struct Branch {
  HKEY Root;
  const wchar_t* Parent;  // which every Windows has
};

// Has the event set by the next change below the suite's key; by the making of that key, where it is missing.
unique_hkey watch_Branch(const Branch& branch, HANDLE event) {
  constexpr DWORD names = REG_NOTIFY_CHANGE_NAME;
  HKEY parent = nullptr;
  RegOpenKeyExW(branch.Root, branch.Parent, 0, KEY_READ, &parent);
  unique_hkey above(parent);
  HKEY key = nullptr;
  RegOpenKeyExW(parent, L"Norvak", 0, KEY_READ, &key);
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
  const std::array branches{Branch{HKEY_CURRENT_USER, L"SOFTWARE"}, Branch{HKEY_LOCAL_MACHINE, L"SOFTWARE"},
                            Branch{HKEY_LOCAL_MACHINE, LR"(SOFTWARE\WOW6432Node)"}};
  // The system shows a 32-bit program the suite's view alone.
  for (const auto& branch : std::span(branches).first(is_SuitesBitness ? 2 : 3)) {
    m_keys.push_back(watch_Branch(branch, m_changed.get()));
    if (!m_keys.back())
      return false;
  }
  return true;
}
