// A selection, what the extension offers for it, and a diagnosis, written as text and as JSON. No state.
#pragma once

#include <string>
#include <string_view>

#include "host/arguments.h"
#include "host/doctor/diagnosis.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/selection.h"

namespace host {

constexpr std::wstring_view nothing_offered = L"The extension offers nothing for this selection.\n";

// The JSON value that says who made the selection's data object.
std::wstring describe_DataObject(const Selection& selection);

// The offer as aligned columns, and the count that the extension returned.
std::wstring describe_Offer(const Offer& offer);

// The offer and what was asked for as one JSON object in one line.
std::wstring describe_OfferAsJson(const Selection& selection, const Offer& offer, const Arguments& arguments);

// The report of a diagnosis, section by section, for reading and as one JSON object.
std::wstring describe_Diagnosis(const std::vector<Section>& sections);
std::wstring describe_DiagnosisAsJson(const std::vector<Section>& sections);

}  // namespace host
