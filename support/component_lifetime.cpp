#include "support/component_lifetime.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "support/registry.h"
#include "support/settings.h"
#include "support/text.h"

namespace {

struct Release {
  KeptUntil End;
  void (*Routine)();

  bool operator==(const Release&) const = default;
};

struct {
  std::vector<Release> Releases;  // in the order of their ends
  std::optional<bool> SkipAutoUnload;
} lifetime_state;  // lives as long as the module

void release_Until(KeptUntil end) {
  for (const auto& release : lifetime_state.Releases)
    if (release.End <= end)
      release.Routine();
}

}  // namespace

void release_Later(KeptUntil end, void (*release)()) {
  const Release entry{end, release};
  if (std::ranges::find(lifetime_state.Releases, entry) == lifetime_state.Releases.end())
    lifetime_state.Releases.insert(std::ranges::upper_bound(lifetime_state.Releases, end, {}, &Release::End),
                                   entry);
}

void clean_up_Process() {
  if (!lifetime_state.SkipAutoUnload)
    lifetime_state.SkipAutoUnload = trim(regread_Text(skip_auto_unload.Path)) == L"1";
  if (!*lifetime_state.SkipAutoUnload)
    release_Until(KeptUntil::ObjectEnds);
}

void release_Components() {
  release_Until(KeptUntil::OthersAreGone);
}
