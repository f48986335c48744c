#include "launcher/opening.h"

#include <algorithm>
#include <array>
#include <string>

#include "launcher/image_conversion.h"
#include "launcher/program_locators.h"
#include "support/diagnostic_log.h"
#include "support/files.h"
#include "support/processes.h"
#include "support/text.h"

namespace {

using namespace std::string_view_literals;

// A ".p7s" file is a signature already.
constexpr std::array quill_extensions{L"pdf"sv, L"xml"sv, L"d2d"sv, L"pkcs7"sv, L"p7m"sv};

struct {
  std::wstring Viewer;
  std::wstring Quill;
} opening_state;  // lives as long as the module

// Walks the selection up to the first entry without a path or without a file.
template <typename Open>
void open_Each(std::span<const FileEntry> files, Open&& open) {
  for (const auto& entry : files) {
    debug_Log(entry.LongName);
    const std::wstring file(entry.path());
    if (file.empty())
      return;
    debug_Log(L"do action: ", file);
    if (!file_Exists(file))
      return;
    const auto extension = get_Extension(file);
    if (!extension.empty())
      open(file, extension);
  }
}

// The viewer for PDF files shows no XML, unless it was found for a PDF file before.
std::wstring find_Viewer(std::wstring_view extension) {
  if (opening_state.Viewer.empty())
    opening_state.Viewer = find_PageKeeper();
  if (opening_state.Viewer.empty())
    opening_state.Viewer = find_SealWriter();
  if (opening_state.Viewer.empty() && extension != L"xml")
    opening_state.Viewer = find_PdfViewer();
  return opening_state.Viewer;
}

std::wstring open_Command(const std::wstring& program, const std::wstring& file) {
  return quoted(program) + L" " + quoted(file);
}

}  // namespace

void open_InViewer(std::span<const FileEntry> files) {
  open_Each(files, [](const std::wstring& file, std::wstring_view extension) {
    if (extension != L"pdf" && extension != L"xml" && !selection_flags().HasImage)
      return;
    const auto shown = is_ImageFile(file) ? convert_ToPdf(file) : file;
    const auto viewer = find_Viewer(extension);
    if (viewer.empty())
      return;
    const auto command = open_Command(viewer, shown);
    debug_Log(command);
    start_Program(command);
  });
}

void open_InQuill(std::span<const FileEntry> files) {
  open_Each(files, [](const std::wstring& file, std::wstring_view extension) {
    if (std::ranges::find(quill_extensions, extension) == quill_extensions.end())
      return;
    if (opening_state.Quill.empty())
      opening_state.Quill = find_Quill();
    if (!opening_state.Quill.empty())
      start_Program(open_Command(opening_state.Quill, file));
  });
}
