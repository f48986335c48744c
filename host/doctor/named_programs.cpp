#include "host/doctor/named_programs.h"

#include <algorithm>

#include "base/text.h"
#include "host/language.h"

namespace host {

std::vector<std::wstring> list_SearchedPaths(Program program) {
  auto candidates = list_Candidates(program);
  std::ranges::sort(candidates);
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  return candidates;
}

std::wstring describe_Search(const std::vector<std::wstring>& paths) {
  return paths.empty() ? say(TEXT_NO_FOLDER_SET) : say(TEXT_NOT_FOUND_AS, {join(paths, L", ")});
}

}  // namespace host
