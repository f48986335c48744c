// Why an item is not offered, in words for an administrator. No state.
#pragma once

#include <string>

#include "menu/items.h"

namespace host {

// The condition that keeps the item from being offered; one without a name where none does. What the
// selection lacks is told before what the machine lacks: whoever selects a PDF is not helped by a signing
// application when the item is for PKCS#7 files.
Condition find_TellingCondition(const MenuItem& item, const SelectionFlags& flags);

// What is missing where the condition does not hold; empty for one without a name.
std::wstring describe_Reason(const Condition& missing);

}  // namespace host
