// Every text that a person sees passes through the suite's translator component, "NorvakTranslator.Language".
// Each thread keeps a translator object and the last text with its translation.
#pragma once

#include <string>

// The translated text; the text itself when there is no translator or it does not know the text. Texts of
// several lines are also looked up with "@@vbcrlf@@" for each line break, as the dictionary stores them.
std::wstring translate_String(const std::wstring& text);

struct Translation {
  std::wstring Text;
  bool IsSettled;  // the translator has answered, or there is none; else it may answer the next time
};

// The same, and whether asking again could give another answer.
Translation translate(const std::wstring& text);

// Makes sure that the translator answers: its member `info` is above 0. A component that is missing from the
// registry is registered from the common program folder. False when there is none.
bool load_Translator();

// Lets the translator object go; part of the end-of-use clean-up.
void release_Translator();
