// Opens the selected files in the suite's programs, one start a file, until a file is found missing. Kept for
// the life of the process: the path of the viewer, once found.
#pragma once

#include <span>

#include "selection/selection.h"

// Starts the viewer for each PDF and XML file, and for every file when there are images in the selection; of
// an image it shows the PDF made from it.
void open_InViewer(std::span<const FileEntry> files, bool has_images);

// Starts the signing application for each file that it can sign.
void open_InQuill(std::span<const FileEntry> files);
