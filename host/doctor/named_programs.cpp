#include "host/doctor/named_programs.h"

#include <algorithm>

#include "host/language.h"

namespace host {

std::vector<std::wstring> list_SearchedPaths(Program program) {
  auto candidates = list_Candidates(program);
  std::ranges::sort(candidates);
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  return candidates;
}

std::wstring describe_Search(Program program) {
  std::wstring places;
  for (const std::wstring& path : list_SearchedPaths(program))
    places += (places.empty() ? L"" : L", ") + path;
  return places.empty() ? say(TEXT_NO_FOLDER_SET) : say(TEXT_NOT_FOUND_AS, {places});
}

}  // namespace host
