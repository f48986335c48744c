// Why an item is not offered, in words for an administrator. No state.
#pragma once

#include <string>

#include "menu/conditions.h"

namespace host {

// What is missing where the condition does not hold; empty for one without a name.
std::wstring describe_Reason(const Condition& missing);

}  // namespace host
