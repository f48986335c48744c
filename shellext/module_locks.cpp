#include "shellext/module_locks.h"

#include <atomic>

namespace {

std::atomic<long> locks = 0;

}  // namespace

void lock_Module() noexcept {
  ++locks;
}

void unlock_Module() noexcept {
  --locks;
}

bool is_ModuleLocked() noexcept {
  return locks != 0;
}
