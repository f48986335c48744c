#include "settings/fixed_folders.h"

#include "base/process_values.h"
#include "files/files.h"
#include "files/trust.h"

namespace {

constinit std::array<Settled<bool>, fixed_folders.size()> answers;

}  // namespace

bool counts(FixedFolder folder) {
  const auto* path = path_Of(folder);
  return folder_Exists(path) &&
         answers[static_cast<std::size_t>(folder)].get_Or([path] { return find_OpenPart(path).empty(); });
}
