// What an exception of the DLL lives in: memory for its object, and what the compiler keeps for the thread
// that has it. State: a reserve for the process, and a place for each thread that has an exception under way.
#pragma once

#include <cstddef>

// Memory for one exception, of the process's heap or, where that has none, of the reserve. Never null:
// without either, the process ends. Not set to any value.
void* take_ExceptionMemory(std::size_t size) noexcept;

// Gives it back, and with the last exception of this thread the thread's place.
void give_ExceptionMemory(void* memory) noexcept;
