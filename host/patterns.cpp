#include "host/patterns.h"

#include <windows.h>

#include <shlwapi.h>

#include "base/text.h"
#include "files/files.h"
#include "host/explorer/failure.h"
#include "host/language.h"

namespace host {
namespace {

bool is_Pattern(std::wstring_view path) {
  return after_Last(after_Last(path, L'\\'), L'/').find_first_of(L"*?") != std::wstring_view::npos;
}

std::wstring_view folder_Of(std::wstring_view pattern) {
  return pattern.substr(0, pattern.find_last_of(L"\\/:") + 1);
}

// The file system also takes a pattern for a file's short name, which the person does not see: "*.pdf" would
// find "offer.pdfx" as "OFFER~1.PDF".
bool fits(const wchar_t* name, std::wstring_view pattern) {
  return std::wstring_view(name) != L"." && std::wstring_view(name) != L".." &&
         PathMatchSpecExW(name, std::wstring(pattern).c_str(), PMSF_NORMAL) == S_OK;
}

void append_Matches(std::vector<std::wstring>& paths, const std::wstring& pattern) {
  const auto folder = folder_Of(pattern);
  const auto known = paths.size();
  visit_Each(pattern, [&](const auto& found) {
    if (fits(found.cFileName, std::wstring_view(pattern).substr(folder.size())))
      paths.push_back(std::wstring(folder).append(found.cFileName));
  });
  if (paths.size() == known)
    throw Failure{say(TEXT_NOTHING_FITS, {pattern})};
}

}  // namespace

std::vector<std::wstring> expand_Patterns(std::span<const std::wstring> paths) {
  std::vector<std::wstring> expanded;
  for (const std::wstring& path : paths) {
    if (is_Pattern(path))
      append_Matches(expanded, path);
    else
      expanded.push_back(path);
  }
  return expanded;
}

}  // namespace host
