#include "launcher/translation.h"

#include <optional>
#include <utility>

#include "base/apartment.h"
#include "base/boundary.h"
#include "base/text.h"
#include "components/automation.h"
#include "components/remote_component.h"
#include "suite/component_list.h"

namespace {

constexpr std::wstring_view escaped_break = L"@@vbcrlf@@";
constexpr std::wstring_view line_break = L"\r\n";

struct Translations {
  AutomationObject Translator;
  bool Ready = false;
  bool Answers = false;  // about its life, whatever it says
  bool Releasing = false;
  std::wstring LastInput;
  std::wstring LastOutput;
  bool IsLastSettled = false;
};

constinit PerApartment<Translations> translations;

void ask_ForLife(Translations& own) {
  const auto life = read_Number(own.Translator.Get(), L"info");
  own.Answers = life.has_value();
  own.Ready = life.value_or(0) > 0;
}

// One question to the dictionary; an unknown text comes back as it is. Nothing when the call failed.
std::optional<std::wstring> ask_Translator(const std::wstring& text) {
  const auto answer = call_Member(translations->Translator.Get(), L"translateit", {text_Argument(text)});
  if (!answer)
    return {};
  return as_Text(*answer);
}

std::wstring escape(std::wstring text, std::wstring_view part) {
  replace_All(text, part, escaped_break);
  return text;
}

// Nothing when a call failed.
std::optional<std::wstring> look_Up(const std::wstring& text) {
  auto answer = ask_Translator(text);
  if (answer && answer->empty())
    answer = text;
  for (const std::wstring_view part : {line_break, std::wstring_view(L"\t")}) {
    if (answer && *answer == text && contains(text, part))
      answer = ask_Translator(escape(text, part));
  }
  return answer && answer->empty() ? text : answer;
}

}  // namespace

std::wstring translate_String(const std::wstring& text) {
  return translate(text).Text;
}

Translation translate(const std::wstring& text) {
  auto& own = *translations;
  if (!load_Translator())
    return {text, !own.Translator || own.Answers};
  if (!own.LastInput.empty() && own.LastInput == text && !own.LastOutput.empty())
    return {own.LastOutput, own.IsLastSettled};
  auto found = look_Up(text);
  const bool is_answered = found.has_value();
  auto answer = std::move(found).value_or(text);
  replace_All(answer, escaped_break, line_break);
  // One that was out of reach may know the text the next time.
  if (!answer.empty() && (is_answered || !is_Remote(own.Translator.Get()))) {
    // Both or neither: copied first, since memory may run out in between.
    std::wstring input = text;
    std::wstring output = answer;
    own.LastInput.swap(input);
    own.LastOutput.swap(output);
    own.IsLastSettled = is_answered;
  }
  return {std::move(answer), is_answered};
}

bool load_Translator() {
  auto& own = *translations;
  ask_ForLife(own);
  if (!own.Ready) {
    own.Translator = create_Component(translator_component);
    ask_ForLife(own);
  }
  return own.Ready;
}

void release_Translator() {
  auto& own = *translations;
  const UnderWay release(own.Releasing);
  if (release.is_Nested())
    return;
  if (own.Ready && read_Number(own.Translator.Get(), L"info"))
    own.Translator.Reset();
  own.Ready = false;
}
