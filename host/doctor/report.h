// A diagnosis for reading and as JSON. No state.
#pragma once

#include <string>

#include "host/doctor/diagnosis.h"

namespace host {

// The circumstances, the problems with what mends each, and the ten items; with `is_all` everything else that
// was found too.
std::wstring describe_Diagnosis(const Diagnosis& diagnosis, bool is_all);

// All of it as one JSON object in one line.
std::wstring describe_DiagnosisAsJson(const Diagnosis& diagnosis);

}  // namespace host
