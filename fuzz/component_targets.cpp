// The target for the suite's components: answers of the translator.
#include <windows.h>

#include <optional>

#include "base/text.h"
#include "components/automation.h"
#include "fuzz/machine_target.h"
#include "launcher/translation.h"
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

// The text of an answer; no value for a failure.
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
  const auto text = input.take_Text() + std::to_wstring(++count);  // since the last text is remembered
  answer = input;
  const auto given = text_OfAnswer(input);
  auto expected = given && !given->empty() ? *given : text;
  replace_All(expected, L"@@vbcrlf@@", L"\r\n");
  require(translate_String(text) == expected,
          "the answer counts where it is a text, otherwise the text stays");
  answer = Input({});
  require(translate_String(text) == expected, "the same text has the same translation");
}

}  // namespace

const std::vector<Target>& component_Targets() {
  static const std::vector<Target> targets{
      {"translation", translation, 5000, false, words("\xFF|@@vbcrlf@@|\r\n|\t|\xFE\x3D\xD8")}};
  return targets;
}
