// The action table joins the two halves of a menu's life: composing writes a record for every item offered,
// and the shell's later questions are answered from it. One table a thread, shared by all its objects; it is
// emptied with every new selection and at the end of every object.
#pragma once

#include <array>
#include <string>
#include <string_view>

struct MenuRecord {
  std::wstring MenuName;         // the translated caption; empty = free
  long MenuIDX = -1;             // absolute command identifier; -1 = unset
  long MenuICMD = -1;            // command offset from the shell's first identifier; -1 = unset
  bool MenuEnabled = false;      // the item was offered
  std::wstring_view MenuAction;  // the action keyword, a constant; empty = none
};

constexpr std::size_t action_table_size = 100;

using ActionTable = std::array<MenuRecord, action_table_size>;
ActionTable& action_table();

// Frees every record and forgets the selection.
void clear_ActionTable();

// The action keyword of the first item whose command offset or absolute identifier is `command`; empty when
// no item matches. Every record that is looked at on the way is logged.
std::wstring get_ActionString(long command);

// The caption of the first item whose absolute identifier is `command`; empty when there is none. A shell
// that passes offsets therefore gets a caption only where its first identifier was 0.
std::wstring get_MenuName(long command);
