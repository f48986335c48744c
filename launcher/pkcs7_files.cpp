#include "launcher/pkcs7_files.h"

#include <map>
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

// What could not be made or done, and why; without a reason when all is well.
struct Outcome {
  const wchar_t* Problem = nullptr;
  std::wstring File;
};

// A missing component leaves every file as it is. The person is told once for each kind of problem.
template <typename Process>
void process_Each(std::span<const FileEntry> files, Process&& process) {
  std::map<std::wstring, std::vector<std::wstring>> problems;
  const auto component = create_Maker();
  for (const auto& entry : files) {
    debug_Log(entry.LongName);
    if (entry.path().empty())
      break;
    if (!component)
      continue;
    auto outcome = process(component.Get(), std::wstring(entry.path()));
    if (outcome.Problem == nullptr)
      continue;
    debug_Log(L"Not done: ", outcome.File);
    problems[outcome.Problem].push_back(std::move(outcome.File));
  }
  for (const auto& [problem, names] : problems)
    tell_Failure(problem.c_str(), names);
}

constexpr const wchar_t* not_created = L"The file could not be created.";

// Where there is no whole output afterwards, what was there before is back.
Outcome create_One(IDispatch* component, const std::wstring& file, const std::wstring& output,
                   const std::wstring& container, bool is_detached) {
  if (is_Late(component))  // it would not hear of another file
    return {not_created, output};
  SetAside earlier(output);
  if (!earlier.is_Free())
    return {L"The earlier file cannot be replaced.", output};
  const auto answer = call_Member(component, L"create_P7x",
                                  {text_Argument(exact_Path(file)), text_Argument(exact_Path(output)),
                                   text_Argument(container), is_detached});
  if (answer && has_Content(output)) {
    earlier.replace();
    return {};
  }
  if (is_Late(component))  // it may still write
    earlier.leave();
  return {not_created, output};
}

void create_Each(std::span<const FileEntry> files, std::wstring_view ending, bool is_detached) {
  const auto container = get_KeyContainer();
  process_Each(files, [&](IDispatch* component, const std::wstring& file) {
    return create_One(component, file, file + std::wstring(ending), container, is_detached);
  });
}

// Whatever is no clear yes is a no.
bool is_Valid(std::optional<_variant_t> answer) {
  return answer && SUCCEEDED(VariantChangeType(&*answer, &*answer, 0, VT_BOOL)) &&
         answer->boolVal != VARIANT_FALSE;
}

Outcome validate(IDispatch* component, const std::wstring& file, bool is_always_valid) {
  const TemporaryFile made(L"content");
  const auto& output = made.path();
  if (output.empty())
    return {L"The file could not be checked.", file};
  const auto answer = call_Member(component, L"validate_P7x",
                                  {text_Argument(exact_Path(file)), text_Argument(output), is_always_valid});
  const auto content = file.substr(0, file.rfind(L'.'));
  if (!is_Valid(answer) || get_Extension(file) != L"p7m" || !file_Exists(output) || file_Exists(content))
    return {};
  return copy_WithOrigin(output, content, file) ? Outcome() : Outcome{not_created, content};
}

}  // namespace

void sign_Pkcs7(std::span<const FileEntry> files) {
  create_Each(files, signature_ending, true);
}

void envelop_Pkcs7(std::span<const FileEntry> files) {
  create_Each(files, envelope_ending, false);
}

void validate_Pkcs7(std::span<const FileEntry> files) {
  const auto setting = regread_Text(certificate_always_valid.Path);
  const bool is_always_valid = trim(setting) == L"1";
  process_Each(files, [&](IDispatch* component, const std::wstring& file) {
    return validate(component, file, is_always_valid);
  });
}
