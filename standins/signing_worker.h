// The work of the signing worker: the queue of files in the store that the suite's processes share. No state.
#pragma once

#include <filesystem>

namespace suite {

/// Works the queue off until it is empty: a line, "signed", TAB, path, in the log for each file that exists.
/// A list stays in the queue for the delay (milliseconds) longer. Returns S_OK or what stopped the work.
long work_queue_off(const std::filesystem::path& log, unsigned delay);

}  // namespace suite
