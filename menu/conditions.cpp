#include "menu/conditions.h"

#include <string>
#include <utility>

#include "base/process_values.h"
#include "launcher/program_locators.h"
#include "settings/registry.h"
#include "settings/settings.h"

namespace {

constinit Settled<std::wstring> unique_container_name;

}  // namespace

bool has_ContainerName() {
  if (unique_container_name.get())
    return true;
  auto name = regread_Text(users_container.Path);
  return !name.empty() && !unique_container_name.settle(std::move(name)).empty();
}

bool has_CardFeature() {
  return has_CardConnector() || has_CredentialProvider();
}

bool has_PdfApplication() {
  return !find_PdfApplication().empty();
}

bool has_Quill() {
  return !find_Quill().empty();
}

bool has_WorkerAndApplication() {
  const bool worker = !find_WorkerProcess().empty();
  const bool application = has_PdfApplication();
  return worker && application;
}

bool has_SigningRoute() {
  const bool quill = has_Quill();
  const bool application = has_PdfApplication();
  const bool card = is_CardSigningAvailable();
  return quill || application || card;
}
