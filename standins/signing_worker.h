// The work of the signing worker: it signs the files whose paths are in a queue, which is a value in the
// store that the suite's processes share. No state.
#pragma once

#include <filesystem>

namespace standins {

// Signs the files of the queue until it is empty: for each that exists, the log gets the line "signed", TAB,
// path. A list stays in the queue for the delay (milliseconds) longer. Returns S_OK or what stopped the work.
long sign_QueuedFiles(const std::filesystem::path& log, unsigned delay);

}  // namespace standins
