// The action table joins the two halves of a menu's life: composing writes a record for every item offered,
// and the shell's later questions are answered from it. One table a module, shared by all objects; it is
// emptied with every new selection and at the end of every object. Its texts live as long as the module.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <array>
#include <string>
#include <string_view>

struct MenuRecord {
  std::wstring_view MenuName;    // the translated caption; empty = free
  long MenuIDX;                  // absolute command identifier; -1 = unset
  long MenuICMD;                 // command offset from the shell's first identifier; -1 = unset
  VARIANT_BOOL MenuEnabled;      // the item was offered
  std::wstring_view MenuAction;  // the action keyword; empty = none
};

constexpr std::size_t action_table_size = 100;

std::array<MenuRecord, action_table_size>& action_table();

// Frees every record and resets the selection flags.
void clear_ActionTable();

// The action keyword of the first item whose command offset or absolute identifier is `command`; empty when
// no item matches. Every record that is looked at on the way is logged.
std::wstring get_ActionString(long command);

// The caption of the first item whose absolute identifier is `command`; empty when there is none. A shell
// that passes offsets therefore gets a caption only where its first identifier was 0.
std::wstring get_MenuName(long command);
