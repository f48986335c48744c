// Counts what keeps the module loaded: objects, class factories and the server locks of clients.
#pragma once

void lock_Module() noexcept;
void unlock_Module() noexcept;

// Whether anything still needs the module.
bool is_ModuleLocked() noexcept;
