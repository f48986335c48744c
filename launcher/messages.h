// What a person is told, in message boxes of the window whose item was picked (base/owner_window.h): that
// window takes no input until they are closed. No state.
#pragma once

#include <string>
#include <vector>

// Shows the text as it is, with the sign of an error.
void show_Error(const std::wstring& text, const std::wstring& title);

// Shows the sentence in the suite's language, and below it the files or the program that it is about, ten at
// most.
void tell_Failure(const wchar_t* sentence, const std::vector<std::wstring>& names = {}) noexcept;
