#include <array>

#include "base/module.h"
#include "base/text.h"
#include "host/doctor/reasons.h"
#include "host/doctor/report.h"
#include "host/language.h"
#include "host/layout.h"
#include "host/output.h"
#include "host/version.h"

namespace host {
namespace {

using Rows = std::vector<Row>;

std::wstring section(unsigned long title, Rows rows) {
  return L"\n" + say(title) + L"\n" + align_Rows(std::move(rows));
}

std::wstring join_Texts(const std::vector<std::wstring>& texts) {
  std::wstring joined;
  for (const std::wstring& text : texts)
    joined.append(joined.empty() ? L"" : L", ").append(text);
  return joined;
}

std::wstring describe_Bits(int bits) {
  return say(TEXT_BITS, {std::to_wstring(bits)});
}

std::wstring describe_Dll(const Registration& registration) {
  if (registration.File.empty())
    return say(TEXT_NONE);
  if (!registration.IsFileThere)
    return registration.File + L", " + say(TEXT_MISSING);
  const auto version = registration.Version.empty() ? say(TEXT_WITHOUT_VERSION) : registration.Version;
  return version + L", " + registration.File;
}

std::wstring describe_Time(const SYSTEMTIME& universal) {
  SYSTEMTIME time{};
  SystemTimeToTzSpecificLocalTime(nullptr, &universal, &time);
  std::array<wchar_t, 32> text{};
  wsprintfW(text.data(), L"%04u-%02u-%02u %02u:%02u", time.wYear, time.wMonth, time.wDay, time.wHour,
            time.wMinute);
  return text.data();
}

std::wstring describe_Header(const Diagnosis& found) {
  const auto& about = found.About;
  Rows rows{
      {L"menuhost", std::wstring(program_version) + L", " + describe_Bits(is_SuitesBitness ? 32 : 64)},
      {say(TEXT_EXTENSION), describe_Dll(found.Registered)},
      {L"Windows", about.Windows + L", " + describe_Bits(about.WindowsBits)},
      {say(TEXT_ACCOUNT), about.Account + L", " + say(about.IsElevated ? TEXT_ELEVATED : TEXT_NOT_ELEVATED)},
      {say(TEXT_DATE), describe_Time(about.Time)}};
  for (const std::wstring& path : found.Paths)
    rows.push_back({&path == &found.Paths.front() ? say(TEXT_ASKED_FOR) : L"", path});
  return align_Rows(std::move(rows));
}

std::wstring describe_Problems(const std::vector<Problem>& problems) {
  if (problems.empty())
    return L"\n" + say(TEXT_NO_PROBLEMS) + L"\n";
  auto text = L"\n" +
              (problems.size() == 1 ? say(TEXT_ONE_PROBLEM)
                                    : say(TEXT_PROBLEMS, {std::to_wstring(problems.size())})) +
              L"\n";
  for (std::size_t i = 0; i < problems.size(); ++i) {
    const auto number = pad_Right(std::to_wstring(i + 1) + L".", 4);
    text += number + wrap_Text(problems[i].What, number.size(), number.size());
    text += pad_Right({}, number.size()) + wrap_Text(problems[i].Remedy, number.size(), number.size());
  }
  return text;
}

std::wstring describe_Items(const std::vector<ItemState>& items) {
  Rows rows;
  for (const ItemState& item : items) {
    const std::wstring english = item.Item->Caption;
    rows.push_back({(item.Missing.Name == nullptr ? L"+ " : L"- ") + item.Caption,
                    item.Caption == english ? L"" : english, describe_Reason(item.Missing)});
  }
  return colour_Marks(section(TEXT_ITEMS, std::move(rows)));
}

std::wstring describe_Value(const RegistryValue& value) {
  if (is_Empty(value))
    return say(TEXT_MISSING);
  return std::holds_alternative<std::wstring>(value) ? ::quoted(as_Text(copy_Of(value)))
                                                     : say(TEXT_BINARY_DATA);
}

std::wstring describe_Settings(const std::vector<SettingState>& settings) {
  Rows rows;
  for (const SettingState& setting : settings) {
    const auto is_elsewhere =
        !setting.Place.empty() && !equals_IgnoringCase(setting.Place, setting.Row->Path);
    rows.push_back({L"  " + std::wstring(setting.Row->Path), describe_Value(setting.Value),
                    is_elsewhere ? say(TEXT_FROM, {setting.Place}) : L""});
  }
  return section(TEXT_SETTINGS, std::move(rows));
}

std::wstring describe_Programs(const Diagnosis& found) {
  Rows rows;
  for (const ProgramState& program : found.Programs) {
    rows.push_back({L"  " + std::wstring(program.Name),
                    program.Path.empty() ? describe_Search(program.Searched) : program.Path});
  }
  for (const FeatureState& feature : found.Features)
    rows.push_back({L"  " + say(feature.Text), say(feature.IsOn ? TEXT_ON : TEXT_OFF)});
  return section(TEXT_PROGRAMS, std::move(rows));
}

std::wstring describe_Entry(EntryState state) {
  constexpr std::array<unsigned long, 3> texts{TEXT_REGISTERED, TEXT_MISSING, TEXT_WRONG};
  return say(texts[static_cast<std::size_t>(state)]);
}

std::wstring describe_Registration(const Registration& registration) {
  Rows rows{{L"  " + say(TEXT_ENTRY_CLASS), say(registration.File.empty() ? TEXT_MISSING : TEXT_REGISTERED),
             registration.ClassPath}};
  for (const Entry& entry : registration.Entries)
    if (entry.Kind != &approval_entry || registration.NeedsApproval || entry.State == EntryState::Registered)
      rows.push_back({L"  " + say(entry.Kind->Label), describe_Entry(entry.State), entry.Path});
  for (const std::wstring& block : registration.Blocks)
    rows.push_back({L"  " + say(TEXT_ENTRY_BLOCK), L"", block});
  return section(TEXT_REGISTRATION, std::move(rows));
}

std::wstring describe_Components(const std::vector<ComponentState>& components) {
  constexpr std::array<unsigned long, 7> texts{TEXT_REGISTERED, TEXT_IN_SURROGATE, TEXT_WHEN_NEEDED,
                                               TEXT_MISSING,    TEXT_UNREGISTERED, TEXT_FILE_GONE,
                                               TEXT_UNREACHABLE};
  Rows rows;
  for (const ComponentState& component : components)
    rows.push_back({L"  " + std::wstring(component.Component->ProgId),
                    say(texts[static_cast<std::size_t>(component.How)]), component.File});
  return section(TEXT_COMPONENTS, std::move(rows));
}

std::wstring describe_Log(const LogState& log) {
  return section(TEXT_LOG, {{L"  " + say(log.IsOn ? TEXT_ON : TEXT_OFF), log.File}});
}

std::wstring describe_Users(const Package& package) {
  if (package.Names.empty())
    return say(TEXT_MISSING);
  const unsigned long who = package.IsForAllUsers ? TEXT_FOR_ALL_USERS : TEXT_FOR_THIS_USER;
  return join_Texts(package.Names) + L", " + say(who);
}

std::wstring describe_Package(const Package& package) {
  constexpr std::size_t indent = 2;
  Rows rows{{L"  " + say(TEXT_PACKAGE), describe_Users(package)}};
  if (!package.Folder.empty())
    rows.push_back({L"  " + say(TEXT_FOLDER), package.Folder});
  rows.push_back(
      {L"  " + say(TEXT_OFFERED_THERE), package.IsShown ? join_Texts(package.Items) : say(TEXT_NONE)});
  auto text = section(TEXT_FIRST_MENU, std::move(rows));
  for (const Obstacle& obstacle : package.Obstacles)
    text += pad_Right({}, indent) + wrap_Text(obstacle.What, indent, indent);
  return text;
}

std::wstring describe_Times(const std::vector<PhaseTime>& times) {
  Rows rows;
  for (const PhaseTime& time : times)
    rows.push_back({L"  " + std::wstring(time.Name), say(TEXT_MICROSECONDS, {std::to_wstring(time.Next)}),
                    say(TEXT_FIRST_TIME, {std::to_wstring(time.First)})});
  return section(TEXT_TIMES, std::move(rows));
}

}  // namespace

std::wstring describe_Diagnosis(const Diagnosis& diagnosis, bool is_all) {
  auto text =
      describe_Header(diagnosis) + describe_Problems(diagnosis.Problems) + describe_Items(diagnosis.Items);
  if (is_all) {
    text += describe_Package(diagnosis.FirstMenu) + describe_Settings(diagnosis.Settings) +
            describe_Programs(diagnosis) + describe_Registration(diagnosis.Registered) +
            describe_Components(diagnosis.Components) + describe_Log(diagnosis.Log) +
            describe_Times(diagnosis.Times);
  } else {
    if (has_FirstMenu(diagnosis.About) || !diagnosis.FirstMenu.Folder.empty())
      text += describe_Package(diagnosis.FirstMenu);
    text += L"\n" + say(TEXT_SEE_ALL) + L"\n";
  }
  return text;
}

}  // namespace host
