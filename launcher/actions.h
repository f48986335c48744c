// Carries out what the picked item stands for. Kept for the life of the process: the translated texts of the
// message box.
#pragma once

#include <span>
#include <string_view>

#include "selection/selection.h"

// Carries out the action of the keyword for the selection, on the calling thread. Programs are started and
// not waited for; one that is missing is simply not started. Every action but the signing queue's ends in the
// message that no signature certificate is configured.
void run_Action(std::wstring_view action, std::span<const FileEntry> files,
                const SelectionFlags& flags) noexcept;
