// Text helpers. Text is UTF-16 inside; it becomes code-page text only at the platform calls that take it so.
// "Blanks" are space characters alone, as everywhere in the suite. No state.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The text without blanks at either end.
std::wstring_view trim(std::wstring_view text);

// The text in lower case; letters outside the Latin alphabet follow the system's rules.
std::wstring to_Lower(std::wstring_view text);

// One letter of `to_Lower`.
wchar_t to_Lower(wchar_t letter);

// Replaces every occurrence in one pass from left to right.
void replace_All(std::wstring& text, std::wstring_view from, std::wstring_view to);

bool contains(std::wstring_view text, std::wstring_view part);

// Equality without regard to case.
bool equals_IgnoringCase(std::wstring_view left, std::wstring_view right);

// The pieces between the separators; a text without one is a single piece, also when it is empty.
std::vector<std::wstring> split(std::wstring_view text, wchar_t separator);

// The pieces with the separator between them.
std::wstring join(const std::vector<std::wstring>& pieces, std::wstring_view separator);

// The text after the last `mark`, or the whole text when it has none.
std::wstring_view after_Last(std::wstring_view text, wchar_t mark);

// The text up to the last `mark`, with it; empty when it has none.
std::wstring_view through_Last(std::wstring_view text, wchar_t mark);

// The folder with a backslash at its end; an empty text stays empty.
std::wstring with_Backslash(std::wstring_view folder);

// The text in quotes.
std::wstring quoted(std::wstring_view text);

// Whether the text has ASCII letters alone, which are the same in every code page.
bool is_Ascii(std::wstring_view text);

// The text in the system's ANSI code page; what it cannot say becomes that page's default character, and
// never a character that only looks alike.
std::string to_Ansi(std::wstring_view text);

// Text of the system's ANSI code page as UTF-16.
std::wstring from_Ansi(std::string_view text);

// Whether the code page has every character of the text.
bool is_InCodePage(std::wstring_view text);

// The number in decimal.
std::wstring decimal(long long number);

// The whole trimmed text as a signed decimal 32-bit number; nothing when it is no number or out of range.
std::optional<long> to_Number(std::wstring_view text);
