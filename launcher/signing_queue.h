// The queue of files that the signing worker works off: the shared value "SignFiles". No state.
#pragma once

#include <span>

#include "selection/selection.h"

// Hands the selection to the signing worker and starts it. A worker that is still busy is waited for, one
// minute at most; the user may cancel that, and then nothing is handed over. So it is, and the user is told,
// when the worker's program is missing or does not start. Does nothing while no key container is configured,
// or when no entry has a path.
void queue_ForSigning(std::span<const FileEntry> files);
