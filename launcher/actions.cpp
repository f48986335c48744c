#include "launcher/actions.h"

#include <string>

#include "launcher/opening.h"
#include "launcher/translation.h"
#include "support/file_types.h"
#include "support/module.h"

namespace {

struct {
  std::wstring FirstSelectedPath;
  std::wstring MessageText;
  std::wstring MessageTitle;
} state;  // lives as long as the module

void prepare(std::span<const FileEntry> files) {
  repair_Pkcs7Icons();
  if (!files.empty() && !files.front().LongName.empty())
    state.FirstSelectedPath = files.front().LongName;
}

const std::wstring& translate_Once(std::wstring& cache, const wchar_t* text) {
  if (cache.empty())
    cache = translate_String(text);
  return cache;
}

void show_CertificateMessage() {
  const auto& text = translate_Once(state.MessageText, L"No Signature Certificate Configured");
  const auto& title = translate_Once(state.MessageTitle, L"Configuration Problem");
  MessageBoxW(get_hwnd(), text.c_str(), title.c_str(), MB_OK | MB_ICONERROR);
}

}  // namespace

void run_Action(std::wstring_view action, std::span<const FileEntry> files) {
  prepare(files);
  if (action == L"view")
    open_InViewer(files);
  if (action == L"quill!")
    open_InQuill(files);
  if (action != L"signit" && action != L"sfolder")
    show_CertificateMessage();
}
