#include "launcher/actions.h"

#include <array>
#include <string>

#include "base/boundary.h"
#include "base/process_values.h"
#include "launcher/messages.h"
#include "launcher/opening.h"
#include "launcher/pkcs7_files.h"
#include "launcher/secure_drive.h"
#include "launcher/signing_queue.h"
#include "launcher/translation.h"
#include "suite/file_types.h"

namespace {

using Files = std::span<const FileEntry>;

constinit Settled<std::wstring> message_text;
constinit Settled<std::wstring> message_title;

std::wstring first_Path(Files files) {
  return files.empty() ? std::wstring() : std::wstring(files.front().LongName);
}

struct Step {
  std::wstring_view Action;
  void (*Run)(Files, const SelectionFlags&);
};

// A routine of the files alone.
template <void (*Routine)(Files)>
void with_Files(Files files, const SelectionFlags&) {
  Routine(files);
}

void mount(Files files) {
  mount_Drive(first_Path(files));
}

void unmount(Files files) {
  unmount_Drive(first_Path(files));
}

void create(Files) {
  create_Drive();
}

void view(Files files, const SelectionFlags& flags) {
  open_InViewer(files, flags.HasImage);
}

constexpr std::array program_steps{Step{L"mount", with_Files<mount>},
                                   Step{L"unmount", with_Files<unmount>},
                                   Step{L"create", with_Files<create>},
                                   Step{L"view", view},
                                   Step{L"quill!", with_Files<open_InQuill>},
                                   Step{L"signit", with_Files<queue_ForSigning>},
                                   Step{L"sfolder", with_Files<queue_ForSigning>}};
constexpr std::array pkcs7_steps{Step{L"p7s", with_Files<sign_Pkcs7>},
                                 Step{L"p7m", with_Files<envelop_Pkcs7>},
                                 Step{L"vPKCS7", with_Files<validate_Pkcs7>}};

void run_Steps(std::span<const Step> steps, std::wstring_view action, Files files,
               const SelectionFlags& flags) {
  for (const auto& step : steps)
    if (step.Action == action)
      run_Guarded([&] { step.Run(files, flags); });
}

std::wstring translate_Once(Settled<std::wstring>& known, const wchar_t* text) {
  if (auto translated = known.get())
    return *std::move(translated);
  auto translation = translate(text);
  return translation.IsSettled ? known.settle(std::move(translation.Text)) : translation.Text;
}

void show_CertificateMessage() {
  const auto text = translate_Once(message_text, L"No Signature Certificate Configured");
  const auto title = translate_Once(message_title, L"Configuration Problem");
  show_Error(text, title);
}

}  // namespace

void run_Action(std::wstring_view action, Files files, const SelectionFlags& flags) noexcept {
  run_Guarded(repair_Pkcs7Icons);
  run_Steps(program_steps, action, files, flags);
  if (action != L"signit" && action != L"sfolder")
    run_Guarded(show_CertificateMessage);
  if (!flags.HasLink)
    run_Steps(pkcs7_steps, action, files, flags);
}
