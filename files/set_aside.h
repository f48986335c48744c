// A file that stands where a new one is to be made.
#pragma once

#include <string>

// Gives the file another name beside it ("name.earlier", or with a number behind that) until the new one is
// there. Unless the new one is said to be whole, the earlier one takes its place again at the end; a program
// that ends in between leaves it under the other name.
class SetAside {
 public:
  explicit SetAside(std::wstring path);
  ~SetAside();
  SetAside(const SetAside&) = delete;
  SetAside& operator=(const SetAside&) = delete;

  // Whether nothing stands under the name now; a folder, and a file that may not be renamed, stay there.
  bool is_Free() const { return m_is_free; }

  // Whether an earlier file has another name now.
  bool has_File() const { return !m_other_name.empty(); }

  // The new file is whole, and the earlier one goes for good.
  void replace();

  // Nobody knows yet what becomes of the new file, so both stay.
  void leave() { m_is_free = false; }

 private:
  std::wstring m_path;
  std::wstring m_other_name;  // empty when there was none
  bool m_is_free = true;
};
