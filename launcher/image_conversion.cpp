#include "launcher/image_conversion.h"

#include "base/owner_window.h"
#include "base/text.h"
#include "components/automation.h"
#include "files/file_names.h"
#include "files/files.h"
#include "files/temporary_file.h"
#include "suite/component_list.h"

namespace {

constexpr const wchar_t* called_from_shell = L"calledfromshellextension";
constexpr long whole_page = 128;

// The path of a temporary PDF file; empty when none was made. The component must know for the time of the
// call that a shell extension asks: it then shows no window of its own.
std::wstring make_TemporaryPdf(IDispatch* editor, const std::wstring& picture) {
  put_Property(editor, called_from_shell, true);
  send_Member(editor, L"set_caller", {called_from_shell});
  const auto pdf = call_Member(editor, L"img2pdf", {text_Argument(exact_Path(picture)), whole_page});
  put_Property(editor, called_from_shell, false);
  send_Member(editor, L"set_caller", {L"calledfromshellextension_clear"});
  return pdf ? as_Text(*pdf) : std::wstring();
}

// The path of a copy that stays while it is shown; that of the picture where none can be made.
std::wstring show_FromTemporaryFile(const std::wstring& picture, const std::wstring& pdf) {
  TemporaryFile shown(L"picture.pdf");
  if (shown.path().empty() || !copy_WithOrigin(pdf, shown.path(), picture))
    return picture;
  shown.keep_ForReader();
  return shown.path();
}

// The PDF that is to be shown: the one beside the picture, or a temporary one where none can be kept there.
std::wstring keep_Beside(const std::wstring& picture, const std::wstring& pdf) {
  auto kept = picture + L".pdf";
  if (!file_Exists(kept) && !copy_WithOrigin(pdf, kept, picture))
    kept = show_FromTemporaryFile(picture, pdf);
  // A component that answers with one of the two files themselves has made nothing temporary.
  if (!equals_IgnoringCase(pdf, kept) && !equals_IgnoringCase(pdf, picture))
    delete_File(pdf);
  return kept;
}

}  // namespace

std::wstring convert_ToPdf(const std::wstring& picture) {
  const auto editor = create_Component(pdf_component);
  if (!editor)
    return picture;
  if (get_hwnd() != nullptr)
    send_Member(editor.Get(), L"set_hwnd", {hwnd_Argument(get_hwnd())});
  const auto pdf = make_TemporaryPdf(editor.Get(), picture);
  auto file = file_Exists(pdf) ? keep_Beside(picture, pdf) : picture;
  put_Property(editor.Get(), called_from_shell, false);
  return file;
}
