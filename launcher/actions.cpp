#include "launcher/actions.h"

#include <array>
#include <string>

#include "launcher/opening.h"
#include "launcher/pkcs7_files.h"
#include "launcher/secure_drive.h"
#include "launcher/signing_queue.h"
#include "launcher/translation.h"
#include "support/boundary.h"
#include "support/file_types.h"
#include "support/module.h"

namespace {

using Files = std::span<const FileEntry>;

struct {
  std::wstring FirstSelectedPath;
  std::wstring MessageText;
  std::wstring MessageTitle;
} action_state;  // lives as long as the module

struct Step {
  std::wstring_view Action;
  void (*Run)(Files);
};

void mount(Files) {
  mount_Drive(action_state.FirstSelectedPath);
}

void unmount(Files) {
  unmount_Drive(action_state.FirstSelectedPath);
}

void create(Files) {
  create_Drive();
}

constexpr std::array program_steps{Step{L"mount", mount},
                                   Step{L"unmount", unmount},
                                   Step{L"create", create},
                                   Step{L"view", open_InViewer},
                                   Step{L"quill!", open_InQuill},
                                   Step{L"signit", queue_ForSigning},
                                   Step{L"sfolder", queue_ForSigning}};
constexpr std::array pkcs7_steps{Step{L"p7s", sign_Pkcs7}, Step{L"p7m", envelop_Pkcs7},
                                 Step{L"vPKCS7", validate_Pkcs7}};

void run_Steps(std::span<const Step> steps, std::wstring_view action, Files files) {
  for (const auto& step : steps)
    if (step.Action == action)
      run_Guarded([&] { step.Run(files); });
}

void prepare(Files files) {
  repair_Pkcs7Icons();
  if (!files.empty() && !files.front().LongName.empty())
    action_state.FirstSelectedPath = files.front().LongName;
}

const std::wstring& translate_Once(std::wstring& cache, const wchar_t* text) {
  if (cache.empty())
    cache = translate_String(text);
  return cache;
}

void show_CertificateMessage() {
  const auto& text = translate_Once(action_state.MessageText, L"No Signature Certificate Configured");
  const auto& title = translate_Once(action_state.MessageTitle, L"Configuration Problem");
  MessageBoxW(get_hwnd(), text.c_str(), title.c_str(), MB_OK | MB_ICONERROR);
}

}  // namespace

void run_Action(std::wstring_view action, Files files) noexcept {
  run_Guarded([&] { prepare(files); });
  run_Steps(program_steps, action, files);
  if (action != L"signit" && action != L"sfolder")
    run_Guarded(show_CertificateMessage);
  if (!selection_flags().HasLink)
    run_Steps(pkcs7_steps, action, files);
}
