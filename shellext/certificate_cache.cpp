#include "shellext/certificate_cache.h"

#include <algorithm>
#include <vector>

#include "base/apartment.h"
#include "components/object_creation.h"

namespace {

// Those of the thread. An object that outlives its apartment must not keep one.
class Components {
 public:
  Components() = default;
  Components(const Components&) = delete;
  Components& operator=(const Components&) = delete;
  ~Components() {
    for (const auto& component : m_components)
      if (const auto living = component.lock())
        living->Reset();
  }

  std::shared_ptr<AutomationObject> add() {
    std::erase_if(m_components, [](const auto& component) { return component.expired(); });
    auto made = std::make_shared<AutomationObject>();
    m_components.push_back(made);
    return made;
  }

 private:
  std::vector<std::weak_ptr<AutomationObject>> m_components;
};

constinit PerApartment<Components> components;

}  // namespace

CertificateCache::CertificateCache() : m_component(components->add()) {}

long CertificateCache::ensure_Cache() noexcept {
  if (!is_Alive(m_component->Get())) {
    *m_component = create_Object(L"NorvakCertInstaller.icache");
    send_Member(m_component->Get(), L"DisableSessionUnloading");
  }
  return read_Number(m_component->Get(), L"info").value_or(0);
}

void CertificateCache::let_Go() noexcept {
  m_component->Reset();
  send_Member(m_component->Get(), L"DisableSessionUnloading");  // it is gone, so this reaches nobody
}
