#include "host/language.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <vector>

#include "base/handles.h"
#include "base/module.h"
#include "base/text.h"
#include "settings/registry_api.h"
#include "settings/registry_view.h"
#include "settings/settings.h"

namespace host {
namespace {

struct Language {
  std::wstring_view Name;
  LANGID Id;
};

constexpr std::array languages{Language{L"en", MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)},
                               Language{L"de", MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN)}};

constinit std::atomic<LANGID> spoken = 0;

// The suite's names may have a country behind them ("de-AT").
LANGID find_Language(std::wstring_view name) {
  const auto short_name = name.substr(0, name.find_first_of(L"-_"));
  const auto found = std::ranges::find_if(
      languages, [&](const Language& language) { return equals_IgnoringCase(language.Name, short_name); });
  return found == languages.end() ? LANGID{} : found->Id;
}

LANGID spoken_Language() {
  if (spoken == 0) {
    const auto suites = find_Language(as_Text(regread_api(in_SuiteView(suite_language))));
    spoken = suites != 0 ? suites : languages.front().Id;
  }
  return spoken;
}

}  // namespace

bool speak_Language(std::wstring_view name) {
  const auto id = find_Language(name);
  if (id != 0)
    spoken = id;
  return id != 0;
}

std::wstring say(unsigned long text, std::initializer_list<std::wstring> parts) {
  std::vector<DWORD_PTR> arguments;
  for (const std::wstring& part : parts)
    arguments.push_back(reinterpret_cast<DWORD_PTR>(part.c_str()));
  wchar_t* buffer = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY,
      get_Module(), text, spoken_Language(), reinterpret_cast<wchar_t*>(&buffer), 0,
      reinterpret_cast<va_list*>(arguments.data()));
  const unique_local_memory owner(buffer);
  std::wstring said(buffer, length);
  replace_All(said, L"\r\n", L"\n");
  while (said.ends_with(L'\n'))
    said.pop_back();
  return said;
}

}  // namespace host
