// Tells whether settings of the suite may have changed since they were read, at the cost of one look at an
// event. Each thread watches for itself, as the system ends a watch with the thread that asked for it.
#pragma once

#include <vector>

#include "base/handles.h"

class RegistryWatch {
 public:
  // Whether nothing below the suite's keys, of the machine in both views and of the user, has changed since
  // the last question. False the first time, and for good where the system does not tell; what is read after
  // the question counts for the next one.
  bool is_Unchanged() noexcept;

 private:
  bool watch();

  unique_kernel_handle m_changed;
  std::vector<unique_hkey> m_keys;
};
