// The suite's certificate cache, of which each object of the extension has one of its own. It keeps the
// suite's session open between two right-clicks.
#pragma once

#include <memory>

#include "components/automation.h"

class CertificateCache {
 public:
  CertificateCache();
  ~CertificateCache() = default;
  CertificateCache(const CertificateCache&) = delete;
  CertificateCache& operator=(const CertificateCache&) = delete;

  // Makes the component "NorvakCertInstaller.icache" where it is not there or gives no sign of life. What it
  // answers for "info"; 0 without it.
  long ensure_Cache() noexcept;

  // Lets it go; its own last release decides when its session ends.
  void let_Go() noexcept;

 private:
  std::shared_ptr<AutomationObject> m_component;  // the apartment lets it go where this outlives it
};
