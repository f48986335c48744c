#include "host/doctor/named_programs.h"

#include <algorithm>

namespace host {

std::wstring describe_Search(Program program) {
  std::wstring places;
  auto candidates = list_Candidates(program);
  std::ranges::sort(candidates);
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  for (const std::wstring& candidate : candidates)
    places += (places.empty() ? L"not found as " : L", ") + candidate;
  return places.empty() ? L"no folder is set to look for it in" : places;
}

}  // namespace host
