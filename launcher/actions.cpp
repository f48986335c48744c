#include "launcher/actions.h"

#include "base/boundary.h"
#include "base/process_values.h"
#include "launcher/messages.h"
#include "launcher/translation.h"
#include "suite/pkcs7_icons.h"

namespace {

constinit Settled<std::wstring> message_text;
constinit Settled<std::wstring> message_title;

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

void run_Action(const Action& action, std::span<const FileEntry> files,
                const SelectionFlags& flags) noexcept {
  run_Guarded(repair_Pkcs7Icons);
  const auto run = [&] { run_Guarded([&] { action.Run(files, flags); }); };
  if (!action.IsForPkcs7)
    run();
  if (action.HasMessage)
    run_Guarded(show_CertificateMessage);
  if (action.IsForPkcs7 && !flags.HasLink)
    run();
  else if (action.IsForPkcs7)
    run_Guarded([&] { pass_Over(files); });
}
