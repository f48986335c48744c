#include "files/set_aside.h"

#include <utility>

#include "base/boundary.h"
#include "base/text.h"
#include "files/files.h"

SetAside::SetAside(std::wstring path) : m_path(std::move(path)) {
  constexpr int most_names = 100;
  if (folder_Exists(m_path)) {
    m_is_free = false;
    return;
  }
  for (int number = 1; file_Exists(m_path); ++number) {
    m_other_name = m_path + L".earlier" + (number == 1 ? L"" : L"." + decimal(number));
    m_is_free = move_ToNewFile(m_path, m_other_name);
    if (m_is_free || number == most_names || !file_Exists(m_other_name))
      return;
  }
}

void SetAside::replace() {
  m_is_free = false;  // first, so that nothing takes the new file away
  if (!m_other_name.empty())
    delete_File(m_other_name);
}

SetAside::~SetAside() {
  if (!m_is_free)
    return;
  run_Guarded([this] {
    delete_File(m_path);
    if (!m_other_name.empty())
      move_ToNewFile(m_other_name, m_path);
  });
}
