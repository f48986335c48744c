#include "launcher/action_table.h"

#include <algorithm>

#include "support/diagnostic_log.h"
#include "support/selection_state.h"

namespace {

std::array<MenuRecord, action_table_size> table;  // lives as long as the module

bool is_Occupied(const MenuRecord& record) {
  return !record.MenuName.empty() && record.MenuIDX >= 0 && record.MenuICMD >= 0;
}

void log_Record(const MenuRecord& record) {
  debug_Log(L"MenuName: ", record.MenuName);
  debug_Log(L"MenuIDX: ", record.MenuIDX);
  debug_Log(L"MenuICMD: ", record.MenuICMD);
  debug_Log(L"MenuAction: ", record.MenuAction);
}

bool has_Action(const MenuRecord& record, long command) {
  return record.MenuEnabled && !record.MenuAction.empty() &&
         (record.MenuIDX == command || record.MenuICMD == command);
}

}  // namespace

std::array<MenuRecord, action_table_size>& action_table() {
  return table;
}

void clear_ActionTable() {
  table.fill({{}, -1, -1, VARIANT_FALSE, {}});
  selection_flags() = {};
}

std::wstring get_ActionString(long command) {
  debug_Log(L"get_ActionString: ", command);
  for (const auto& record : table) {
    if (!is_Occupied(record))
      continue;
    log_Record(record);
    if (has_Action(record, command))
      return std::wstring(record.MenuAction);
  }
  return {};
}

std::wstring get_MenuName(long command) {
  const auto found = std::ranges::find_if(table, [command](const MenuRecord& record) {
    return !record.MenuName.empty() && record.MenuEnabled && record.MenuIDX == command;
  });
  return found == table.end() ? std::wstring() : std::wstring(found->MenuName);
}
