#include "selection/selection.h"

#include <utility>

#include "base/apartment.h"

namespace {

constinit PerApartment<SharedSelection> last_selection;

}  // namespace

SharedSelection current_Selection() {
  auto& last = *last_selection;
  if (!last)
    last = std::make_shared<const Selection>();
  return last;
}

void keep_Selection(SharedSelection selection) {
  last_selection->swap(selection);
}
