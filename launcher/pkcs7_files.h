// PKCS#7 signatures (".p7s"), envelopes (".p7m") and their validation, done by the suite's component
// "norvakcsp.PKCS7". Each walks the selection up to the first entry without a path, and leaves a line with
// its outcome in the log for each file ("PKCS7 result: "). No state.
#pragma once

#include <span>

#include "selection/selection.h"

// Makes the signature of each file beside it, in place of one that is there.
void sign_Pkcs7(std::span<const FileEntry> files);

// Makes the envelope of each file beside it, in place of one that is there.
void envelop_Pkcs7(std::span<const FileEntry> files);

// Validates each file; the content of a valid envelope is written beside it where no file is in the way.
void validate_Pkcs7(std::span<const FileEntry> files);

// Tells the log that none of the files is touched.
void pass_Over(std::span<const FileEntry> files);
