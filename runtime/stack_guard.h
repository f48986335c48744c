// The guard value that the compiler's stack protection puts into frames, kept for the life of the module.
#pragma once

// Makes the value one that nobody can foresee, with the first call. It belongs at the start of every entry of
// the DLL, before a frame is guarded, and so needs no work when the DLL is loaded.
void choose_StackGuard() noexcept;
