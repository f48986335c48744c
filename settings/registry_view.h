// The two views that a 64-bit Windows has of HKLM\SOFTWARE. The suite and its settings are 32-bit, so the
// 32-bit view is the suite's. The system shows a 32-bit program nothing else; a 64-bit one goes there by its
// paths, the one way that the script host and the registry provider know too. No state.
#pragma once

#include <string>
#include <string_view>

#include "base/module.h"

// The path as a 64-bit program reaches it in the suite's view: below HKLM\SOFTWARE through WOW6432Node. A
// path that names this key stays as it is, as does one below HKLM\SOFTWARE\Classes, which is HKCR by another
// name.
std::wstring through_SuiteView(std::wstring_view path);

// The path as this program reaches it in the suite's view.
inline auto in_SuiteView(std::wstring_view path) {
  if constexpr (!is_SuitesBitness)
    return through_SuiteView(path);
  else
    return path;
}

// What the body answers for the path in the suite's view, or, where that is nothing, in this program's own.
template <typename Body>
auto ask_Views(std::wstring_view path, Body body) {
  const auto suites_path = in_SuiteView(path);
  auto answer = body(suites_path);
  if constexpr (!is_SuitesBitness)
    if (answer == decltype(answer)() && suites_path != path)
      answer = body(path);
  return answer;
}
