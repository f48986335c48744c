// The targets of the suite's components: what the translator answers, and what is logged.
#include <windows.h>

#include <optional>

#include "fuzz/machine_target.h"
#include "launcher/translation.h"
#include "support/automation.h"
#include "support/diagnostic_log.h"
#include "support/text.h"
#include "tests/components.h"

namespace {

// A value of any kind as an answer.
_variant_t take_Answer(Input& input) {
  static constexpr VARTYPE types[] = {VT_EMPTY, VT_NULL, VT_I2,    VT_I4,   VT_R4, VT_R8,
                                      VT_CY,    VT_DATE, VT_ERROR, VT_BOOL, VT_I8, VT_BSTR};
  static constexpr VARTYPE elements[] = {VT_BSTR, VT_UI1, VT_VARIANT, VT_DISPATCH};
  const auto kind = input.take<std::uint8_t>() % 24;
  if (kind == 0)
    throw HRESULT{input.take<HRESULT>() | static_cast<HRESULT>(0x80000000)};
  if (kind < 8)
    return text_Argument(input.take_Text());
  _variant_t answer;
  answer.vt = kind < 20 ? types[kind - 8] : static_cast<VARTYPE>(VT_ARRAY | elements[kind - 20]);
  if (kind >= 20)
    answer.parray = SafeArrayCreateVector(elements[kind - 20], 0, input.take<std::uint8_t>());
  else if (answer.vt != VT_BSTR)
    answer.llVal = input.take<std::int64_t>();
  return answer;
}

// The text of an answer; nothing for a failure.
std::optional<std::wstring> text_OfAnswer(Input input) {
  try {
    auto answer = take_Answer(input);
    VARIANT text{};
    if (FAILED(VariantChangeType(&text, static_cast<VARIANT*>(&answer), 0, VT_BSTR)))
      return std::wstring();
    const _variant_t owner(text, false);
    return std::wstring(text.bstrVal, SysStringLen(text.bstrVal));
  } catch (HRESULT) {
    return {};
  }
}

void translation(Input input) {
  static const CleanMachine machine;
  static Input answer({});
  static const Component translator(L"NorvakTranslator.Language", {{L"translateit", [](const Arguments&) {
                                                                      auto copied = answer;
                                                                      return take_Answer(copied);
                                                                    }}});
  static std::uint32_t count = 0;
  const auto text = input.take_Text() + std::to_wstring(++count);  // the last one is remembered
  answer = input;
  const auto given = text_OfAnswer(input);
  auto expected = given && !given->empty() ? *given : text;
  replace_All(expected, L"@@vbcrlf@@", L"\r\n");
  require(translate_String(text) == expected, "the answer where it is a text, else the text");
  answer = Input({});
  require(translate_String(text) == expected, "and the same once more");
}

bool is_Noise(const std::wstring& message) {
  const auto text = to_Lower(trim(message));
  static const Lines parts{L"unloading", L"is_servermode", L"is not system (lsass) process",
                           L"readerlist length (in characters) is:"};
  return text == L"set_ ready" || text == L"set_" || text == L"info ready" ||
         std::ranges::any_of(parts, [&](const auto& part) { return contains(text, part); });
}

void log(Input input) {
  static const CleanMachine machine;
  static std::vector<std::wstring> lines;
  static const Log component;
  static const bool nested = (
      component->Table[L"logge"] = [](const Arguments& arguments) -> _variant_t {
        debug_Log(L"a message about a message");
        const auto& line = arguments.at(0);
        lines.emplace_back(line.bstrVal, SysStringLen(line.bstrVal));
        return {};
      },
      true);
  lines.clear();
  Lines expected;
  static std::wstring last;
  while (nested && input.has_More()) {
    const bool has_number = input.take<std::uint8_t>() % 2 != 0;
    auto message = input.take_Text();
    const auto number = input.take<std::int32_t>();
    has_number ? debug_Log(message, static_cast<long>(number)) : debug_Log(message);
    message += has_number ? std::to_wstring(number) : L"";
    if (message.empty() || message == last || is_Noise(message))
      continue;
    last = message;
    expected.push_back(message);
  }
  require(lines.size() == expected.size(), "each message that is none of the noise is one line");
  for (std::size_t index = 0; index < lines.size(); ++index)
    require(
        lines[index].ends_with(L": " + expected[index]) && lines[index].size() < expected[index].size() + 300,
        "a line is its header and its message");
}

}  // namespace

const std::vector<Target>& component_Targets() {
  static const auto texts = words("\xFF|@@vbcrlf@@|\r\n|\t|\xFE\x3D\xD8| |Unloading|set_| INFO Ready");
  static const std::vector<Target> targets{{"translation", translation, 5000, false, texts},
                                           {"log", log, 3000, false, texts}};
  return targets;
}
