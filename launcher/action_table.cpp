#include "launcher/action_table.h"

#include <algorithm>

#include "base/apartment.h"
#include "base/log.h"
#include "selection/selection.h"

namespace {

constinit PerApartment<ActionTable> table;

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

ActionTable& action_table() {
  return *table;
}

void clear_ActionTable() {
  table->fill({});
  keep_Selection({});
}

std::wstring get_ActionString(long command) {
  debug_Log(L"get_ActionString: ", command);
  // A copy, since a component that the log calls may bring about another right-click.
  const auto records = *table;
  for (const auto& record : records) {
    if (!is_Occupied(record))
      continue;
    log_Record(record);
    if (has_Action(record, command))
      return std::wstring(record.MenuAction);
  }
  return {};
}

std::wstring get_MenuName(long command) {
  const auto& records = *table;
  const auto found = std::ranges::find_if(records, [command](const MenuRecord& record) {
    return !record.MenuName.empty() && record.MenuEnabled && record.MenuIDX == command;
  });
  return found == records.end() ? std::wstring() : found->MenuName;
}
