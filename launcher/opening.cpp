#include "launcher/opening.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/process_values.h"
#include "base/text.h"
#include "files/file_extensions.h"
#include "files/file_names.h"
#include "files/files.h"
#include "files/processes.h"
#include "launcher/image_conversion.h"
#include "launcher/messages.h"
#include "launcher/program_locators.h"

namespace {

using namespace std::string_view_literals;

// A ".p7s" file is a signature already.
constexpr std::array quill_extensions{L"pdf"sv, L"xml"sv, L"d2d"sv, L"pkcs7"sv, L"p7m"sv};

constinit Settled<std::wstring> found_viewer;

// Walks the selection up to the first entry without a path; folders, and what is gone, are passed over. The
// routine answers false for a file that it is to open and cannot.
template <typename Open>
void open_Each(std::span<const FileEntry> files, Open&& open) {
  std::vector<std::wstring> unopened;
  for (const auto& entry : files) {
    debug_Log(entry.LongName);
    const std::wstring file(entry.path());
    if (file.empty())
      break;
    debug_Log(L"do action: ", file);
    if (!file_Exists(file))
      continue;
    const auto extension = get_Extension(file);
    if (!extension.empty() && !open(file, extension))
      unopened.push_back(file);
  }
  if (!unopened.empty())
    tell_Failure(L"The file could not be opened.", unopened);
}

// The viewer for PDF files shows no XML, unless it was found for a PDF file before.
std::wstring find_Viewer(std::wstring_view extension) {
  if (auto known = found_viewer.get())
    return *std::move(known);
  auto viewer = find_PageKeeper();
  if (viewer.empty())
    viewer = find_SealWriter();
  if (viewer.empty() && extension != L"xml")
    viewer = find_PdfViewer();
  return viewer.empty() ? viewer : found_viewer.settle(viewer);
}

std::wstring open_Command(const std::wstring& program, const std::wstring& file) {
  return quoted(program) + L" " + quoted(argument_Path(file));
}

}  // namespace

void open_InViewer(std::span<const FileEntry> files, bool has_images) {
  open_Each(files, [has_images](const std::wstring& file, std::wstring_view extension) {
    if (extension != L"pdf" && extension != L"xml" && !has_images)
      return true;
    const auto shown = is_ImageFile(file) ? convert_ToPdf(file) : file;
    const auto viewer = find_Viewer(extension);
    if (viewer.empty())
      return false;
    const auto command = open_Command(viewer, shown);
    debug_Log(command);
    return start_Program(command);
  });
}

void open_InQuill(std::span<const FileEntry> files) {
  open_Each(files, [](const std::wstring& file, std::wstring_view extension) {
    if (std::ranges::find(quill_extensions, extension) == quill_extensions.end())
      return true;
    const auto program = find_Quill();
    return !program.empty() && start_Program(open_Command(program, file));
  });
}
