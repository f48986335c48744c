#include "host/doctor/problems.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "base/account.h"
#include "base/text.h"
#include "files/files.h"
#include "files/trust.h"
#include "host/doctor/registry_views.h"
#include "host/language.h"
#include "host/version.h"
#include "settings/fixed_folders.h"
#include "settings/registry.h"
#include "settings/registry_view.h"
#include "settings/settings.h"

namespace host {
namespace {

using Problems = std::vector<Problem>;

void add_MissingClass(const Registration& registration, Problems& problems) {
  const auto setup = say(TEXT_RUN_SETUP);
  const auto version = registration.Version.empty() ? say(TEXT_WITHOUT_VERSION) : registration.Version;
  if (registration.File.empty() && !registration.OtherFile.empty()) {
    problems.push_back({L"noDllForExplorer", registration.ClassPath,
                        say(TEXT_NO_DLL_FOR_EXPLORER, {registration.OtherFile}),
                        say(TEXT_RUN_SETUP_FOR_EXPLORER)});
  } else if (registration.File.empty()) {
    problems.push_back(
        {L"classMissing", registration.ClassPath, say(TEXT_CLASS_MISSING, {registration.ClassPath}), setup});
  } else if (!registration.IsFileThere) {
    problems.push_back(
        {L"classFileGone", registration.File, say(TEXT_CLASS_FILE_GONE, {registration.File}), setup});
  } else if (!registration.IsForExplorer) {
    problems.push_back({L"otherProcessor", registration.File, say(TEXT_OTHER_PROCESSOR, {registration.File}),
                        say(TEXT_RUN_SETUP_FOR_EXPLORER)});
  } else if (registration.Version != program_version) {
    problems.push_back({L"otherVersion", registration.File,
                        say(TEXT_OTHER_VERSION, {registration.File, version, std::wstring(program_version)}),
                        say(TEXT_RUN_NEWER_SETUP)});
  }
  if (is_64BitWindows() && registration.OtherFile.empty() && !registration.File.empty()) {
    problems.push_back({L"noDllFor32BitPrograms", registration.ClassPath,
                        say(TEXT_NO_DLL_FOR_32_BIT, {registration.File}), setup});
  } else if (!registration.OtherFile.empty() && !file_Exists(registration.OtherFile)) {
    problems.push_back({L"classFileGone", registration.OtherFile,
                        say(TEXT_CLASS_FILE_GONE, {registration.OtherFile}), setup});
  }
}

void add_WrongEntries(const Registration& registration, Problems& problems) {
  for (const Entry& entry : registration.Entries) {
    if (entry.State == EntryState::Registered ||
        (entry.Kind == &approval_entry && !registration.NeedsApproval))
      continue;
    problems.push_back(
        {entry.Kind->Problem, entry.Path, say(entry.Kind->Sentence, {entry.Path}), say(TEXT_RUN_SETUP)});
  }
  for (const std::wstring& key : registration.UsersKeys)
    problems.push_back({L"classOfUser", key, say(TEXT_USERS_CLASS, {key}), say(TEXT_REMOVE_USERS_CLASS)});
  for (const std::wstring& block : registration.Blocks)
    problems.push_back({L"blocked", block, say(TEXT_BLOCKED, {block}), say(TEXT_REMOVE_BLOCK)});
}

// What does not work without the component.
unsigned long find_Loss(const SuiteComponent& component) {
  struct Loss {
    const SuiteComponent* Component;
    unsigned long Text;
  };
  static constexpr std::array losses{
      Loss{&log_component, TEXT_WITHOUT_LOG},         Loss{&translator_component, TEXT_WITHOUT_TRANSLATOR},
      Loss{&semaphore_component, TEXT_WITHOUT_QUEUE}, Loss{&store_component, TEXT_WITHOUT_QUEUE},
      Loss{&pdf_component, TEXT_WITHOUT_PDF},         Loss{&pkcs7_component, TEXT_WITHOUT_PKCS7}};
  static_assert(losses.size() == all_components.size());
  return std::ranges::find(losses, &component, &Loss::Component)->Text;
}

Problem describe_Component(const ComponentState& state) {
  const std::wstring name = state.Component->ProgId;
  const auto loss = L" " + say(find_Loss(*state.Component));
  switch (state.How) {
    case Reach::FileGone:
      return {L"componentFileGone", name, say(TEXT_COMPONENT_FILE_GONE, {name, state.File}) + loss,
              say(TEXT_REPAIR_SUITE)};
    case Reach::Unregistered:
      return {L"componentUnregistered", name, say(TEXT_COMPONENT_UNREGISTERED, {name, state.File}) + loss,
              say(TEXT_REGISTER_COMPONENT, {state.File})};
    case Reach::Unreachable:
      return {L"componentUnreachable", name, say(TEXT_COMPONENT_UNREACHABLE, {name}) + loss,
              state.Entry.empty() ? say(TEXT_RUN_SETUP) : say(TEXT_COMPLETE_ENTRY, {state.Entry})};
    default:
      return {L"componentMissing", name, say(TEXT_COMPONENT_MISSING, {name}) + loss, say(TEXT_REPAIR_SUITE)};
  }
}

// Where the suite is not installed, that is the one thing to tell of its components.
void add_Suite(std::span<const ComponentState> components, Problems& problems) {
  const auto folder = get_InstallFolder();
  if (folder.empty()) {
    problems.push_back({L"suiteMissing", install_folder.Path, say(TEXT_SUITE_MISSING, {install_folder.Path}),
                        say(TEXT_INSTALL_SUITE)});
    return;
  }
  for (const ComponentState& state : components)
    if (!is_Usable(state))
      problems.push_back(describe_Component(state));
}

// What programs are taken from, and where the log may go.
constexpr std::array program_folders{&second_page_keeper_folder,
                                     &second_quill_sign_folder,
                                     &second_quill_folder,
                                     &install_folder,
                                     &second_install_folder,
                                     &page_keeper_folder,
                                     &quill_sign_folder,
                                     &quill_folder,
                                     &csp_folder};
constexpr std::array log_folders{&debug_path, &alternative_write_path};

// A folder that a setting names and that is not there is found by nobody.
void add_MissingFolders(std::span<const Setting* const> folders, Problems& problems) {
  for (const Setting* setting : folders) {
    const auto found = find_Value(setting->Path);
    const auto folder = as_Text(copy_Of(found.Value));
    if (!folder.empty() && !folder_Exists(folder))
      problems.push_back({L"folderMissing", setting->Path, say(TEXT_FOLDER_MISSING, {found.Place, folder}),
                          say(TEXT_CORRECT_FOLDER)});
  }
}

void add_OpenFolder(const std::wstring& folder, Problems& problems) {
  const auto open_part = folder_Exists(folder) ? find_OpenPart(folder) : std::wstring();
  const bool is_named = std::ranges::find(problems, folder, &Problem::Subject) != problems.end();
  if (!open_part.empty() && !is_named)
    problems.push_back({L"folderNotTrusted", folder, say(TEXT_FOLDER_NOT_TRUSTED, {folder, open_part}),
                        say(TEXT_CLOSE_FOLDER, {open_part})});
}

// Whoever can change a folder chooses what is started from it. Of the folders that settings name,
// administrators' own programs ask that alone.
void add_OpenFolders(Problems& problems) {
  for (const auto* folder : fixed_folders)
    add_OpenFolder(folder, problems);
  if (!is_Elevated())
    return;
  for (const Setting* setting : program_folders)
    add_OpenFolder(full_Folder(regread_Text(setting->Path)), problems);
}

// On a 64-bit Windows a value may stand in two views. The 32-bit one is the suite's, and the other counts for
// 64-bit programs alone, and there only while the first has none.
void add_OverruledValues(Problems& problems) {
  if (!is_64BitWindows())
    return;
  for (const Setting* setting : all_settings) {
    const std::wstring path = setting->Path;
    if (setting->Use == Usage::Written || !path.starts_with(L"HKLM"))
      continue;
    const auto other = read_InView(path, KEY_WOW64_64KEY);
    const auto suites = read_InView(path, KEY_WOW64_32KEY);
    if (is_Empty(other) || other == suites)
      continue;
    const auto suites_path = through_SuiteView(path);
    problems.push_back({L"valueOverruled", path,
                        is_Empty(suites) ? say(TEXT_VALUE_FOR_64_BIT_ALONE, {path})
                                         : say(TEXT_VALUE_OVERRULED, {path, suites_path}),
                        say(TEXT_SET_IN_SUITES_VIEW, {suites_path})});
  }
}

void add_Log(const LogState& log, Problems& problems) {
  if (!log.IsOn)
    return;
  if (const auto fault = describe_LogFault(log); !fault.empty())
    problems.push_back({L"logNotWritable", log.File, fault, say(TEXT_MEND_LOG)});
}

void add_Package(const Package& package, Problems& problems) {
  for (const Obstacle& obstacle : package.Obstacles)
    if (obstacle.IsProblem)
      problems.push_back({obstacle.Code, obstacle.Subject, obstacle.What, say(TEXT_RUN_SETUP_FOR_PACKAGE)});
}

}  // namespace

std::vector<Problem> find_Problems(const Registration& registration,
                                   std::span<const ComponentState> components, const LogState& log,
                                   const Package& package) {
  Problems problems;
  add_MissingClass(registration, problems);
  add_WrongEntries(registration, problems);
  add_Suite(components, problems);
  add_MissingFolders(program_folders, problems);
  add_MissingFolders(log_folders, problems);
  add_OpenFolders(problems);
  add_OverruledValues(problems);
  add_Log(log, problems);
  add_Package(package, problems);
  return problems;
}

}  // namespace host
