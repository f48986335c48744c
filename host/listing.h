// What the extension offers for a selection, and what came of a picked item, as text and as JSON. No state.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/arguments.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/first_menu.h"
#include "host/explorer/selection.h"

namespace host {

// The offer as aligned columns, with the items' numbers as `invoke` counts them, and the count that the
// extension returned.
std::wstring describe_Offer(const Offer& offer);

// The offer and what was asked for as one JSON object in one line.
std::wstring describe_OfferAsJson(const Selection& selection, const Offer& offer, const Arguments& arguments);

// The same of the first menu of Windows 11.
std::wstring describe_FirstMenu(const FirstMenu& menu);
std::wstring describe_FirstMenuAsJson(const Selection& selection, const FirstMenu& menu,
                                      const Arguments& arguments);

// An item that was carried out, and the files that came into being.
struct Outcome {
  std::size_t Number;  // counted from 1
  MenuEntry Item;
  std::vector<std::wstring> NewFiles;
};

std::wstring describe_Outcome(const Outcome& outcome);

// The same, or that there is none, as one JSON object in one line.
std::wstring describe_OutcomeAsJson(const Selection& selection, const std::optional<Outcome>& outcome,
                                    const Arguments& arguments);

}  // namespace host
