// How a selection and what the extension offers for it read, as text and as JSON. Keeps no state.
#pragma once

#include <string>
#include <string_view>

#include "host/arguments.h"
#include "host/doctor/diagnosis.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/selection.h"

namespace host {

constexpr std::wstring_view nothing_offered = L"The extension offers nothing for this selection.\n";

/// The JSON value that says who made the selection's data object.
std::wstring describe_data_object(const Selection& selection);

/// The offer as aligned columns, and the count that the extension returned.
std::wstring describe_offer(const Offer& offer);

/// The offer and what was asked for as one JSON object in one line.
std::wstring describe_offer_as_json(const Selection& selection, const Offer& offer,
                                    const Arguments& arguments);

/// The report of a diagnosis, section by section, for reading and as one JSON object.
std::wstring describe_diagnosis(const std::vector<Section>& sections);
std::wstring describe_diagnosis_as_json(const std::vector<Section>& sections);

}  // namespace host
