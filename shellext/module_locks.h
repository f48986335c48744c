// Counts what keeps the module loaded: objects, class factories and the server locks of clients.
#pragma once

void lock_Module() noexcept;
void unlock_Module() noexcept;

// Keeps the module loaded as long as it lives: a part of each object.
class ModuleLock {
 public:
  ModuleLock() noexcept { lock_Module(); }
  ~ModuleLock() { unlock_Module(); }
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;
};

// Whether anything still needs the module.
bool is_ModuleLocked() noexcept;
