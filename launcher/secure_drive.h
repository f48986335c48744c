// The secure drive on a removable stick: its programs do the work, and the registry, the marker file
// "mounted.txt" in the drive's root and the shared value "StickDrive" tell the suite about it. Every step is
// done whether or not the one before it succeeded; but where the program is there and could not be started,
// the person is told, and the notes stay as they were. No state.
#pragma once

#include <string>

// Has the secure-drive program mount the drive of the path and notes that it is mounted.
void mount_Drive(const std::wstring& selected_path);

// Has the drive unmounted, by the installed program when "HKCU\Software\Norvak\CSP\StickMounted" is "1" and
// else by the program on the stick, and takes the notes back.
void unmount_Drive(const std::wstring& selected_path);

// Opens the suite's configuration panel on the tab where secure drives are made.
void create_Drive();
