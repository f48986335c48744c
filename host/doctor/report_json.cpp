#include <algorithm>
#include <array>

#include "base/module.h"
#include "base/text.h"
#include "host/doctor/report.h"
#include "host/json.h"
#include "host/version.h"

namespace host {
namespace {

std::wstring json_Number(long long value) {
  return std::to_wstring(value);
}

// RFC 3339, in universal time.
std::wstring json_Time(const SYSTEMTIME& time) {
  std::array<wchar_t, 32> letters{};
  wsprintfW(letters.data(), L"%04u-%02u-%02uT%02u:%02u:%02uZ", time.wYear, time.wMonth, time.wDay, time.wHour,
            time.wMinute, time.wSecond);
  return json_Text(letters.data());
}

// Text and numbers come as the text that the extension reads; the bytes of a binary value as numbers.
std::wstring json_Value(const RegistryValue& value) {
  if (is_Empty(value))
    return L"null";
  if (const auto* bytes = std::get_if<std::vector<std::byte>>(&value))
    return json_Array(*bytes, [](std::byte byte) { return json_Number(std::to_integer<int>(byte)); });
  return json_Text(std::get<std::wstring>(value));
}

std::wstring json_Problem(const Problem& problem) {
  return json_Object({{L"code", json_Text(problem.Code)}, {L"subject", json_TextOrNull(problem.Subject)}});
}

std::wstring json_Item(const ItemState& item) {
  const std::wstring missing = item.Missing.Name == nullptr ? L"" : item.Missing.Name;
  return json_Object({{L"action", json_Text(item.Item->Picked.Keyword)},
                      {L"caption", json_Text(item.Caption)},
                      {L"englishCaption", json_Text(item.Item->Caption)},
                      {L"offered", json_Boolean(missing.empty())},
                      {L"missing", json_TextOrNull(missing)}});
}

std::wstring json_Setting(const SettingState& setting) {
  return json_Object({{L"path", json_Text(setting.Row->Path)},
                      {L"value", json_Value(setting.Value)},
                      {L"place", json_TextOrNull(setting.Place)}});
}

std::wstring json_Program(const ProgramState& program) {
  return json_Object({{L"name", json_Text(program.Name)},
                      {L"path", json_TextOrNull(program.Path)},
                      {L"searched", json_Array(program.Searched, json_Text)}});
}

std::wstring json_Features(const std::vector<FeatureState>& features) {
  std::vector<std::pair<std::wstring_view, std::wstring>> members(features.size());
  std::ranges::transform(features, members.begin(), [](const FeatureState& feature) {
    return std::pair(feature.Name, json_Boolean(feature.IsOn));
  });
  return json_Object(members);
}

std::wstring json_Entry(const Entry& entry) {
  return json_Object({{L"name", json_Text(entry.Kind->Name)},
                      {L"state", json_Text(name_Of(entry.State))},
                      {L"path", json_Text(entry.Path)}});
}

std::wstring json_Registration(const Registration& registration) {
  return json_Object({{L"file", json_TextOrNull(registration.File)},
                      {L"fileVersion", json_TextOrNull(registration.Version)},
                      {L"fileFor32BitPrograms", json_TextOrNull(registration.OtherFile)},
                      {L"entries", json_Array(registration.Entries, json_Entry)},
                      {L"blocks", json_Array(registration.Blocks, json_Text)},
                      {L"needsApproval", json_Boolean(registration.NeedsApproval)}});
}

std::wstring json_Component(const ComponentState& component) {
  return json_Object({{L"progId", json_Text(component.Component->ProgId)},
                      {L"reach", json_Text(name_Of(component.How))},
                      {L"file", json_TextOrNull(component.File)}});
}

std::wstring json_Phase(const PhaseTime& time) {
  return json_Object({{L"call", json_Text(time.Name)},
                      {L"microseconds", json_Number(time.Next)},
                      {L"first", json_Number(time.First)}});
}

std::wstring json_Obstacle(const Obstacle& obstacle) {
  return json_Object({{L"code", json_Text(obstacle.Code)}, {L"subject", json_TextOrNull(obstacle.Subject)}});
}

std::wstring json_Package(const Package& package) {
  return json_Object({{L"packages", json_Array(package.Names, json_Text)},
                      {L"forAllUsers", json_Boolean(package.IsForAllUsers)},
                      {L"forThisUser", json_Boolean(package.IsForThisUser)},
                      {L"folder", json_TextOrNull(package.Folder)},
                      {L"refusal", json_TextOrNull(package.Refusal)},
                      {L"shown", json_Boolean(package.IsShown)},
                      {L"items", json_Array(package.Items, json_Text)},
                      {L"obstacles", json_Array(package.Obstacles, json_Obstacle)}});
}

}  // namespace

std::wstring describe_DiagnosisAsJson(const Diagnosis& diagnosis) {
  const auto& about = diagnosis.About;
  return json_Answer(
      L"doctor",
      {{L"version", json_Text(program_version)},
       {L"bits", json_Number(is_SuitesBitness ? 32 : 64)},
       {L"windows", json_Text(about.Windows)},
       {L"windowsBits", json_Number(about.WindowsBits)},
       {L"account", json_Text(about.Account)},
       {L"elevated", json_Boolean(about.IsElevated)},
       {L"time", json_Time(about.Time)},
       {L"paths", json_Array(diagnosis.Paths, json_Text)},
       {L"problems", json_Array(diagnosis.Problems, json_Problem)},
       {L"items", json_Array(diagnosis.Items, json_Item)},
       {L"settings", json_Array(diagnosis.Settings, json_Setting)},
       {L"programs", json_Array(diagnosis.Programs, json_Program)},
       {L"features", json_Features(diagnosis.Features)},
       {L"registration", json_Registration(diagnosis.Registered)},
       {L"components", json_Array(diagnosis.Components, json_Component)},
       {L"log", json_Object({{L"on", json_Boolean(diagnosis.Log.IsOn)},
                             {L"file", json_TextOrNull(diagnosis.Log.File)},
                             {L"traced", json_Boolean(diagnosis.Log.IsTraced)},
                             {L"writable", json_Boolean(describe_LogFault(diagnosis.Log).empty())}})},
       {L"firstMenu", json_Package(diagnosis.FirstMenu)},
       {L"times", json_Array(diagnosis.Times, json_Phase)}});
}

}  // namespace host
