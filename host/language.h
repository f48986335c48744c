// The language that the program speaks, and its texts in it (host/texts.mc). Kept for the life of the
// process: the language.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "host/texts.h"

namespace host {

// The program speaks the language of this short name, "en" or "de"; false for another one.
bool speak_Language(std::wstring_view name);

// The text of host/texts.mc with the parts in place of its %1, %2 and so on. In the language that was chosen,
// else in the suite's ("HKLM\Software\Norvak\language"), else in English.
std::wstring say(unsigned long text, std::initializer_list<std::wstring> parts = {});

}  // namespace host
