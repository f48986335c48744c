// What a person is told, in message boxes of the window whose item was picked (support/module.h): that window
// takes no input until they are closed. No state.
#pragma once

#include <string>
#include <string_view>

// Shows the text as it is, with the sign of an error.
void show_Error(const std::wstring& text, const std::wstring& title);

// Shows the sentence in the suite's language, and below it the file or program that it is about.
void tell_Failure(const wchar_t* sentence, std::wstring_view name = {}) noexcept;
