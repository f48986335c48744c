#include "host/json.h"

#include <windows.h>

#include <array>

#include "base/text.h"

namespace host {
namespace {

std::wstring escape(wchar_t letter) {
  std::array<wchar_t, 7> text{};
  wsprintfW(text.data(), L"\\u%04x", letter);
  return text.data();
}

}  // namespace

std::wstring json_Text(std::wstring_view text) {
  std::wstring escaped = L"\"";
  for (const wchar_t letter : text) {
    if (letter == L'"' || letter == L'\\')
      escaped.append(L"\\").append(1, letter);
    else if (letter < L' ' || letter > L'~')
      escaped += escape(letter);
    else
      escaped += letter;
  }
  return escaped + L"\"";
}

std::wstring json_TextOrNull(std::wstring_view text) {
  return text.empty() ? L"null" : json_Text(text);
}

std::wstring json_Boolean(bool value) {
  return value ? L"true" : L"false";
}

std::wstring json_Array(const std::vector<std::wstring>& values) {
  return L"[" + join(values, L",") + L"]";
}

std::wstring json_Object(const std::vector<std::pair<std::wstring_view, std::wstring>>& members) {
  std::vector<std::wstring> values(members.size());
  std::ranges::transform(members, values.begin(),
                         [](const auto& member) { return json_Text(member.first) + L":" + member.second; });
  return L"{" + join(values, L",") + L"}";
}

std::wstring json_Answer(std::wstring_view command,
                         std::initializer_list<std::pair<std::wstring_view, std::wstring>> members) {
  std::vector<std::pair<std::wstring_view, std::wstring>> all{{L"schema", L"1"},
                                                              {L"command", json_Text(command)}};
  all.insert(all.end(), members);
  return json_Object(all) + L"\n";
}

}  // namespace host
