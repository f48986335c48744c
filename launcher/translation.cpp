#include "launcher/translation.h"

#include <optional>

#include "support/automation.h"
#include "support/boundary.h"
#include "support/component_lifetime.h"
#include "support/selection_state.h"
#include "support/suite_folders.h"
#include "support/text.h"

namespace {

constexpr std::wstring_view escaped_break = L"@@vbcrlf@@";
constexpr std::wstring_view line_break = L"\r\n";

struct {
  KeptObject Translator;
  bool Ready = false;
  bool Releasing = false;
  std::wstring LastInput;
  std::wstring LastOutput;
} translator_state;  // lives as long as the module

void create_Translator() {
  release_Later(KeptUntil::ObjectEnds, release_Translator);
  // One that could not be asked at the end of an object goes now.
  release_Later(KeptUntil::ModuleUnloads, [] { translator_state.Translator.release(); });
  translator_state.Translator.keep(
      create_OrRegister(L"NorvakTranslator.Language", {get_CommonProgramFolder() + L"NorvakTranslator.dll"}));
}

// One question to the dictionary; an unknown text comes back as it is. Nothing when the call failed.
std::optional<std::wstring> ask_Translator(const std::wstring& text) {
  const auto answer = call_Member(translator_state.Translator.get(), L"translateit", {text_Argument(text)});
  if (!answer)
    return {};
  return as_Text(*answer);
}

std::wstring escape(std::wstring text, std::wstring_view part) {
  replace_All(text, part, escaped_break);
  return text;
}

std::wstring look_Up(const std::wstring& text) {
  auto answer = ask_Translator(text);
  if (answer && answer->empty())
    answer = text;
  for (const std::wstring_view part : {line_break, std::wstring_view(L"\t")}) {
    if (answer && *answer == text && contains(text, part))
      answer = ask_Translator(escape(text, part));
  }
  return !answer || answer->empty() ? text : *answer;
}

}  // namespace

std::wstring translate_String(const std::wstring& text) {
  if (!load_Translator())
    return text;
  if (!translator_state.LastInput.empty() && translator_state.LastInput == text &&
      !translator_state.LastOutput.empty())
    return translator_state.LastOutput;
  auto answer = look_Up(text);
  replace_All(answer, escaped_break, line_break);
  if (!answer.empty()) {
    // Both or neither: copied first, since memory may run out in between.
    std::wstring input = text;
    std::wstring output = answer;
    translator_state.LastInput.swap(input);
    translator_state.LastOutput.swap(output);
  }
  return answer;
}

VARIANT_BOOL load_Translator() {
  translator_state.Ready = is_Alive(translator_state.Translator.get());
  if (!translator_state.Ready) {
    create_Translator();
    translator_state.Ready = is_Alive(translator_state.Translator.get());
  }
  return to_VariantBool(translator_state.Ready);
}

void release_Translator() {
  if (translator_state.Releasing)
    return;
  translator_state.Releasing = true;
  const ScopeExit done([] { translator_state.Releasing = false; });
  if (translator_state.Ready && read_Number(translator_state.Translator.get(), L"info"))
    translator_state.Translator.release();
  translator_state.Ready = false;
}
