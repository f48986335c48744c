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
#include "files/file_names.h"
#include "files/files.h"
#include "files/set_aside.h"
#include "files/temporary_file.h"
#include "launcher/key_container.h"
#include "launcher/messages.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "suite/components.h"

namespace {

constexpr std::wstring_view envelope_ending = L".p7m";
constexpr std::wstring_view signature_ending = L".p7s";

AutomationObject create_Maker() {
  auto component = create_Component(pkcs7_component);
  if (get_hwnd() != nullptr)
    put_Property(component.Get(), L"WindowHandle", hwnd_Argument(get_hwnd()));
  return component;
}

// A missing component leaves every file as it is.
template <typename Process>
void process_Each(std::span<const FileEntry> files, Process&& process) {
  const auto component = create_Maker();
  for (const auto& entry : files) {
    debug_Log(entry.LongName);
    if (entry.path().empty())
      return;
    if (component)
      process(component.Get(), std::wstring(entry.path()));
  }
}

constexpr const wchar_t* not_created = L"The file could not be created.";

// Null when there is a whole output; else why not, and what was there before is back.
const wchar_t* create_One(IDispatch* component, const std::wstring& file, const std::wstring& output,
                          const std::wstring& container, bool is_detached) {
  if (is_Late(component))  // it would not hear of another file
    return not_created;
  SetAside earlier(output);
  if (!earlier.is_Free())
    return L"The earlier file cannot be replaced.";
  const auto answer = call_Member(component, L"create_P7x",
                                  {text_Argument(exact_Path(file)), text_Argument(exact_Path(output)),
                                   text_Argument(container), is_detached});
  if (answer && has_Content(output)) {
    earlier.replace();
    return nullptr;
  }
  if (is_Late(component))  // it may still write
    earlier.leave();
  return not_created;
}

void create_Each(std::span<const FileEntry> files, std::wstring_view ending, bool is_detached) {
  const auto container = get_KeyContainer();
  std::map<std::wstring, std::vector<std::wstring>> missing;  // by the reason
  process_Each(files, [&](IDispatch* component, const std::wstring& file) {
    auto output = file + std::wstring(ending);
    const auto* reason = create_One(component, file, output, container, is_detached);
    if (reason == nullptr)
      return;
    debug_Log(L"Not created: ", output);
    missing[reason].push_back(std::move(output));
  });
  for (const auto& [reason, outputs] : missing)
    tell_Failure(reason.c_str(), outputs);
}

// Whatever is no clear yes is a no.
bool is_Valid(std::optional<_variant_t> answer) {
  return answer && SUCCEEDED(VariantChangeType(&*answer, &*answer, 0, VT_BOOL)) &&
         answer->boolVal != VARIANT_FALSE;
}

void validate(IDispatch* component, const std::wstring& file, bool is_always_valid) {
  const TemporaryFile made(L"content");
  const auto& output = made.path();
  if (output.empty()) {
    tell_Failure(L"The file could not be checked.", {file});
    return;
  }
  const auto answer = call_Member(component, L"validate_P7x",
                                  {text_Argument(exact_Path(file)), text_Argument(output), is_always_valid});
  const auto content = file.substr(0, file.rfind(L'.'));
  if (!is_Valid(answer) || get_Extension(file) != L"p7m" || !file_Exists(output) || file_Exists(content))
    return;
  if (!copy_WithOrigin(output, content, file))
    tell_Failure(not_created, {content});
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
    validate(component, file, is_always_valid);
  });
}
