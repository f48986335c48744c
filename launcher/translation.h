// Every text that a person sees passes through the suite's translator component, "NorvakTranslator.Language".
// Kept for the life of the module: the translator object and the last text with its translation.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string>

// The translated text; the text itself when there is no translator or it does not know the text. Texts of
// several lines are also looked up with "@@vbcrlf@@" for each line break, as the dictionary stores them.
std::wstring translate_String(const std::wstring& text);

// Makes sure that the translator answers: its member `info` is above 0. A component that is missing from the
// registry is registered from the common program folder. False when there is none.
VARIANT_BOOL load_Translator();

// Lets the translator object go; part of the end-of-use clean-up.
void release_Translator();
