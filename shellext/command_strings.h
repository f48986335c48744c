// The answers to what a menu host asks about an item: its verb, its help text, whether it is there. They are
// made of the captions in the action table (launcher/action_table.h). No state.
#pragma once

#include <windows.h>

// Writes the answer for the item of that absolute identifier into `text`, which holds `room` letters besides
// a terminator: bytes of the system's code page, or UTF-16 where the flags (GCS_...) ask for it. Nothing is
// written when the identifier is unknown, the question is another one, or there is no room at all.
void answer_CommandString(UINT_PTR command, UINT flags, char* text, UINT room);
