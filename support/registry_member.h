// The frame that every member of the registry administration runs in (registry_administration.h,
// value_deletion.h). No state.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "support/boundary.h"
#include "support/registry.h"
#include "support/registry_path.h"
#include "support/registry_provider.h"
#include "support/registry_redirection.h"
#include "support/registry_view.h"
#include "support/script_host.h"
#include "support/text.h"

enum class Target { ReadKey, CheckedKey, WrittenKey, WrittenValue };

// Runs the body with the place of the path and the repaired path; the empty answer when there is none.
template <typename Body>
auto administer(std::wstring_view path, Target target, Body body) noexcept {
  using Answer = decltype(body(RegistryPlace(), std::wstring()));
  return run_Guarded(Answer(), [&]() -> Answer {
    std::wstring repaired(path);
    // The platform's functions would take the text before a NUL for the whole.
    if (is_Quiet() || contains(path, {L"\0", 1}))
      return {};
    normalise_ForWrite(repaired);
    if (target == Target::WrittenKey || target == Target::WrittenValue)
      redirect_ToUser(repaired);
    const auto run = [&](std::wstring_view path_in_view) {
      const auto place = find_Place(path_in_view);
      return place.Root == nullptr ? Answer() : body(place, repaired);
    };
    const auto whole = target == Target::WrittenValue ? repaired : with_Backslash(repaired);
    return target == Target::ReadKey ? ask_Views(whole, run) : run(in_SuiteView(whole));
  });
}

// What the provider decided, or the outcome of the other ways where it gave no answer.
template <typename OtherWays>
bool succeeds(const std::optional<ProviderAnswer>& answer, std::wstring_view member, OtherWays other_ways) {
  if (answer)
    return answer->ReturnCode == 0;
  ensure_ScriptHost(member);
  return other_ways();
}
