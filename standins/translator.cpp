// "NorvakTranslator.Language": translates the suite's texts into the language that the machine is set to. The
// dictionary lies beside the DLL: UTF-8, one entry a line, English text, TAB, translation; line breaks inside
// a text are written as @@vbcrlf@@, and callers ask for them in that form.
#include <algorithm>
#include <array>
#include <cwctype>
#include <map>
#include <memory>
#include <string_view>

#include "standins/component_server.h"
#include "standins/file_content.h"
#include "standins/utf8_file.h"

namespace standins {
namespace {

using Dictionary = std::map<std::wstring, std::wstring, std::less<>>;

// The language's short name, empty when none is set. It becomes part of a file name, so that anything which
// could lead out of the folder counts as no language.
std::wstring read_Language() {
  std::array<wchar_t, 32> text{};
  DWORD bytes = sizeof(text);
  const LSTATUS code = RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Norvak", L"language", RRF_RT_REG_SZ,
                                    nullptr, text.data(), &bytes);
  const std::wstring language = code == ERROR_SUCCESS ? text.data() : L"";
  const bool is_plain =
      std::ranges::all_of(language, [](wchar_t c) { return std::iswalnum(c) || c == L'-'; });
  return is_plain ? language : L"";
}

void add_Entry(Dictionary& dictionary, std::wstring_view line) {
  if (line.ends_with(L'\r'))
    line.remove_suffix(1);
  const auto tab = line.find(L'\t');
  if (tab != std::wstring_view::npos && tab > 0 && tab + 1 < line.size())
    dictionary.emplace(line.substr(0, tab), line.substr(tab + 1));
}

Dictionary load_Dictionary() {
  Dictionary dictionary;
  const auto language = read_Language();
  if (language.empty())
    return dictionary;
  const std::filesystem::path file =
      find_ModuleFile().parent_path() / (L"NorvakTranslator." + language + L".txt");
  const auto content = from_Utf8(read_File(file.wstring()).value_or(""));
  for (std::wstring_view rest = content; !rest.empty();) {
    const auto length = std::min(rest.find(L'\n'), rest.size());
    add_Entry(dictionary, rest.substr(0, length));
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  return dictionary;
}

std::vector<Member> create_TranslatorMembers() {
  const auto dictionary = std::make_shared<const Dictionary>(load_Dictionary());
  return {
      {L"info", call_or_read, 0,
       [dictionary](Arguments) { return _variant_t(static_cast<long>(dictionary->size())); }},
      {L"translateit", call_or_read, 1,
       [dictionary](Arguments arguments) {
         const auto entry = dictionary->find(as_Text(arguments[0]));
         return _variant_t(entry == dictionary->end() ? L"" : entry->second.c_str());
       }},
  };
}

}  // namespace

const Component translator_component = {
    L"NorvakTranslator",
    L"NorvakTranslator.Language",
    {0x3b9b1a07, 0xd599, 0x43a6, {0x98, 0xd9, 0xde, 0xe6, 0x7a, 0xcd, 0xba, 0xac}},
    create_TranslatorMembers,
};

}  // namespace standins
