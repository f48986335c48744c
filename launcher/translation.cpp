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
} state;  // lives as long as the module

void create_Translator() {
  release_Later(KeptUntil::ObjectEnds, release_Translator);
  // One that could not be asked at the end of an object goes now.
  release_Later(KeptUntil::ModuleUnloads, [] { state.Translator.release(); });
  state.Translator.keep(
      create_OrRegister(L"NorvakTranslator.Language", {get_CommonProgramFolder() + L"NorvakTranslator.dll"}));
}

// One question to the dictionary; an unknown text comes back as it is. Nothing when the call failed.
std::optional<std::wstring> ask_Translator(const std::wstring& text) {
  const auto answer = call_Member(state.Translator.get(), L"translateit", {text_Argument(text)});
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
  if (!state.LastInput.empty() && state.LastInput == text && !state.LastOutput.empty())
    return state.LastOutput;
  auto answer = look_Up(text);
  replace_All(answer, escaped_break, line_break);
  if (!answer.empty()) {
    // Both or neither: copied first, since memory may run out in between.
    std::wstring input = text;
    std::wstring output = answer;
    state.LastInput.swap(input);
    state.LastOutput.swap(output);
  }
  return answer;
}

VARIANT_BOOL load_Translator() {
  state.Ready = is_Alive(state.Translator.get());
  if (!state.Ready) {
    create_Translator();
    state.Ready = is_Alive(state.Translator.get());
  }
  return to_VariantBool(state.Ready);
}

void release_Translator() {
  if (state.Releasing)
    return;
  state.Releasing = true;
  const ScopeExit done([] { state.Releasing = false; });
  if (state.Ready && read_Number(state.Translator.get(), L"info"))
    state.Translator.release();
  state.Ready = false;
}
