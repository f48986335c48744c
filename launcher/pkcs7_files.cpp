#include "launcher/pkcs7_files.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/owner_window.h"
#include "base/text.h"
#include "components/automation.h"
#include "components/remote_component.h"
#include "files/file_extensions.h"
#include "files/file_names.h"
#include "files/files.h"
#include "files/set_aside.h"
#include "files/temporary_file.h"
#include "launcher/key_container.h"
#include "launcher/messages.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "suite/component_list.h"

namespace {

constexpr std::wstring_view envelope_ending = L".p7m";
constexpr std::wstring_view signature_ending = L".p7s";

AutomationObject create_Maker() {
  auto component = create_Component(pkcs7_component);
  if (get_hwnd() != nullptr)
    put_Property(component.Get(), L"WindowHandle", hwnd_Argument(get_hwnd()));
  return component;
}

// What became of a file, with the label of its line in the log, and what the person is told about it; nothing
// when all is well.
struct Outcome {
  const wchar_t* Label;
  std::wstring File;
  const wchar_t* Problem = nullptr;
};

struct Problem {
  std::wstring_view Text;
  std::vector<std::wstring> Files;
};

// A missing component leaves every file as it is. The person is told once for each kind of problem.
template <typename Process>
void process_Each(std::span<const FileEntry> files, Process&& process) {
  std::vector<Problem> problems;
  const auto component = create_Maker();
  for (const auto& entry : files) {
    debug_Log(entry.LongName);
    if (entry.path().empty())
      break;
    std::wstring file(entry.path());
    auto outcome = component ? process(component.Get(), file)
                             : Outcome{L"PKCS7 result: the component is missing: ", std::move(file)};
    debug_Log(outcome.Label, outcome.File);
    if (outcome.Problem == nullptr)
      continue;
    auto problem = std::ranges::find(problems, outcome.Problem, &Problem::Text);
    if (problem == problems.end())
      problem = problems.insert(problem, Problem{outcome.Problem, {}});
    problem->Files.push_back(std::move(outcome.File));
  }
  for (const auto& problem : problems)
    tell_Failure(problem.Text.data(), problem.Files);
}

constexpr const wchar_t* not_created = L"The file could not be created.";

// Where there is no whole output afterwards, what was there before is back.
Outcome create_One(IDispatch* component, const std::wstring& file, const std::wstring& output,
                   const std::wstring& container, bool is_detached) {
  if (is_Late(component))  // it would not hear of another file
    return {L"PKCS7 result: not tried, the component is late: ", output, not_created};
  SetAside earlier(output);
  if (!earlier.is_Free())
    return {L"PKCS7 result: not made, the earlier file cannot be replaced: ", output,
            L"The earlier file cannot be replaced."};
  const auto answer = call_Member(component, L"create_P7x",
                                  {text_Argument(exact_Path(file)), text_Argument(exact_Path(output)),
                                   text_Argument(container), is_detached});
  if (answer && has_Content(output)) {
    earlier.replace();
    return {L"PKCS7 result: made: ", output};
  }
  if (is_Late(component)) {  // it may still write
    earlier.leave();
    return {L"PKCS7 result: unknown, the component is late: ", output, not_created};
  }
  return {
      earlier.has_File() ? L"PKCS7 result: not made, the earlier file stays: " : L"PKCS7 result: not made: ",
      output, not_created};
}

void create_Each(std::span<const FileEntry> files, std::wstring_view ending, bool is_detached) {
  const auto container = get_KeyContainer();
  process_Each(files, [&](IDispatch* component, const std::wstring& file) {
    return create_One(component, file, file + std::wstring(ending), container, is_detached);
  });
}

// Whatever is no clear yes is a no.
bool is_Valid(_variant_t answer) {
  return SUCCEEDED(VariantChangeType(&answer, &answer, 0, VT_BOOL)) && answer.boolVal != VARIANT_FALSE;
}

Outcome validate(IDispatch* component, const std::wstring& file, bool is_always_valid) {
  const TemporaryFile made(L"content");
  const auto& output = made.path();
  if (output.empty())
    return {L"PKCS7 result: not checked, no temporary file can be made: ", file,
            L"The file could not be checked."};
  const auto answer = call_Member(component, L"validate_P7x",
                                  {text_Argument(exact_Path(file)), text_Argument(output), is_always_valid});
  if (!answer)
    return {L"PKCS7 result: not checked, the component gave no answer: ", file};
  if (!is_Valid(*answer))
    return {L"PKCS7 result: not clearly valid: ", file};
  if (get_Extension(file) != L"p7m")
    return {L"PKCS7 result: valid: ", file};
  if (!file_Exists(output))
    return {L"PKCS7 result: valid, no content was given: ", file};
  const auto content = file.substr(0, file.rfind(L'.'));
  if (file_Exists(content))
    return {L"PKCS7 result: valid, not unpacked since a file is in the way: ", content};
  if (!copy_WithOrigin(output, content, file))
    return {L"PKCS7 result: valid, the content cannot be written: ", content, not_created};
  return {L"PKCS7 result: valid, unpacked: ", content};
}

}  // namespace

void sign_Pkcs7(std::span<const FileEntry> files) {
  create_Each(files, signature_ending, true);
}

void envelop_Pkcs7(std::span<const FileEntry> files) {
  create_Each(files, envelope_ending, false);
}

void pass_Over(std::span<const FileEntry> files) {
  for (const auto& entry : files) {
    if (entry.path().empty())
      break;
    debug_Log(L"PKCS7 result: passed over, a shortcut is selected: ", entry.path());
  }
}

void validate_Pkcs7(std::span<const FileEntry> files) {
  const auto setting = regread_Text(certificate_always_valid.Path);
  const bool is_always_valid = trim(setting) == L"1";
  process_Each(files, [&](IDispatch* component, const std::wstring& file) {
    return validate(component, file, is_always_valid);
  });
}
