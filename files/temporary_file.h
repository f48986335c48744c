// A file for the time of an action. Others must neither read nor replace it, since it may hold what was
// decrypted, so it has a folder of its own that only this person and the system can enter. State: the files
// of the process that are still to go.
#pragma once

#include <string>
#include <string_view>

class TemporaryFile {
 public:
  // Makes the folder, below the one for temporary files, and no file yet; the name is a short one. What could
  // not be deleted before is tried again, and what a process that was ended has left goes after a day.
  explicit TemporaryFile(std::wstring_view name);
  // Deletes the file, if there is one, and the folder.
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Where the file may be made; empty when the folder could not be.
  const std::wstring& path() const { return m_path; }

  // A program that is started now reads the file: it goes with a later one, in ten minutes at the earliest.
  void keep_ForReader();

 private:
  std::wstring m_folder;
  std::wstring m_path;
};
