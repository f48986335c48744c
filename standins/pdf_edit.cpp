// "norvakpdf.edit": the suite's PDF component. It makes PDF files of pictures.
#include <wincodec.h>
#include <wrl/client.h>

#include <cmath>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "standins/component_server.h"
#include "standins/file_content.h"

namespace standins {
namespace {

using _com_util::CheckError;
using Microsoft::WRL::ComPtr;

constexpr double points_per_inch = 72;
constexpr double default_resolution = 96;

struct Picture {
  UINT Width = 0;  // in pixels, as is the height
  UINT Height = 0;
  double HorizontalResolution = 0;  // in pixels an inch
  double VerticalResolution = 0;
  std::string Pixels;  // red, green, blue; row by row from the top
};

ComPtr<IWICBitmapFrameDecode> open_Picture(IWICImagingFactory& factory, const std::wstring& path) {
  ComPtr<IWICBitmapDecoder> decoder;
  CheckError(factory.CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                               WICDecodeMetadataCacheOnDemand, &decoder));
  ComPtr<IWICBitmapFrameDecode> frame;
  CheckError(decoder->GetFrame(0, &frame));
  return frame;
}

// Lays a row of blue, green, red and opacity on white. The colours already are multiplied by the opacity.
void append_Row(std::string& pixels, const std::vector<BYTE>& row) {
  for (std::size_t i = 0; i < row.size(); i += 4) {
    const int white = 255 - row[i + 3];
    for (const std::size_t colour : {2U, 1U, 0U})
      pixels += static_cast<char>(row[i + colour] + white);
  }
}

std::string decode_Pixels(IWICImagingFactory& factory, IWICBitmapSource* frame, UINT width, UINT height) {
  ComPtr<IWICFormatConverter> converter;
  CheckError(factory.CreateFormatConverter(&converter));
  CheckError(converter->Initialize(frame, GUID_WICPixelFormat32bppPBGRA, WICBitmapDitherTypeNone, nullptr, 0,
                                   WICBitmapPaletteTypeCustom));
  std::vector<BYTE> row(std::size_t{4} * width);
  std::string pixels;
  for (UINT y = 0; y < height; ++y) {
    const WICRect area{0, static_cast<INT>(y), static_cast<INT>(width), 1};
    const auto bytes = static_cast<UINT>(row.size());
    CheckError(converter->CopyPixels(&area, bytes, bytes, row.data()));
    append_Row(pixels, row);
  }
  return pixels;
}

Picture read_Picture(const std::wstring& path) {
  ComPtr<IWICImagingFactory> factory;
  CheckError(
      CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)));
  const auto frame = open_Picture(*factory.Get(), path);
  Picture picture;
  CheckError(frame->GetSize(&picture.Width, &picture.Height));
  CheckError(frame->GetResolution(&picture.HorizontalResolution, &picture.VerticalResolution));
  picture.Pixels = decode_Pixels(*factory.Get(), frame.Get(), picture.Width, picture.Height);
  return picture;
}

// Written digit by digit: the number functions put a comma where the process has chosen a language with one.
std::string compose_Points(UINT pixels, double resolution) {
  const double pixels_per_inch = resolution >= 1 ? resolution : default_resolution;
  const long long hundredths = std::llround(pixels * points_per_inch * 100 / pixels_per_inch);
  const auto fraction = std::to_string(hundredths % 100);
  return std::to_string(hundredths / 100) + (fraction.size() == 1 ? ".0" : ".") + fraction;
}

std::string compose_Stream(std::string_view content, const std::string& entries = "") {
  const auto length = std::to_string(content.size());
  std::string stream = "<< /Length " + length + entries + " >>\nstream\n";
  return stream.append(content).append("\nendstream");
}

std::string compose_Image(const Picture& picture) {
  return compose_Stream(picture.Pixels,
                        " /Type /XObject /Subtype /Image /ColorSpace /DeviceRGB /BitsPerComponent 8 /Width " +
                            std::to_string(picture.Width) + " /Height " + std::to_string(picture.Height));
}

// Each entry of the table of objects is twenty bytes long.
std::string compose_TableEntry(std::size_t offset, std::string_view kind) {
  const auto digits = std::to_string(offset);
  return std::string(10 - digits.size(), '0').append(digits).append(kind);
}

// The bytes above 127 in the second line tell that the file is no text.
std::string compose_File(std::initializer_list<std::string> objects) {
  std::string file = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n";
  const std::string size = std::to_string(objects.size() + 1);
  std::string table = "xref\n0 " + size + "\n" + compose_TableEntry(0, " 65535 f \n");
  int number = 0;
  for (const std::string& object : objects) {
    table += compose_TableEntry(file.size(), " 00000 n \n");
    file.append(std::to_string(++number)).append(" 0 obj\n").append(object).append("\nendobj\n");
  }
  const auto table_offset = std::to_string(file.size());
  return file.append(table + "trailer\n<< /Size " + size + " /Root 1 0 R >>\nstartxref\n" + table_offset +
                     "\n%%EOF\n");
}

// One page, as large as the picture and filled by it.
std::string compose_Document(const Picture& picture) {
  const auto width = compose_Points(picture.Width, picture.HorizontalResolution);
  const auto height = compose_Points(picture.Height, picture.VerticalResolution);
  return compose_File({
      "<< /Type /Catalog /Pages 2 0 R >>",
      "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
      "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + width + " " + height +
          "] /Contents 4 0 R /Resources << /XObject << /Picture 5 0 R >> >> >>",
      compose_Stream(width + " 0 0 " + height + " 0 0 cm /Picture Do"),
      compose_Image(picture),
  });
}

// A new name each time, because the caller deletes the file whenever it is done with it.
std::wstring compose_TemporaryPath() {
  GUID id{};
  CheckError(CoCreateGuid(&id));
  wchar_t name[39]{};  // an identifier in braces and its NUL
  StringFromGUID2(id, name, static_cast<int>(std::size(name)));
  return (std::filesystem::temp_directory_path() / name).wstring() + L".pdf";
}

// The flags are about documents of several pages; a picture makes one page.
_variant_t convert_Picture(Arguments arguments) {
  const auto document = compose_Document(read_Picture(as_Text(arguments[0])));
  const auto path = compose_TemporaryPath();
  throw_UnlessSuccess(static_cast<LSTATUS>(write_File(path, document)));
  return _variant_t(path.c_str());
}

// What callers tell about themselves. It is kept for as long as the object lives.
struct Caller {
  _variant_t Window;
  _variant_t Object;
  _variant_t IsShellExtension = false;
};

std::function<_variant_t(Arguments)> keep_In(std::shared_ptr<_variant_t> place) {
  return [place = std::move(place)](Arguments arguments) {
    *place = arguments[0];
    return _variant_t();
  };
}

std::vector<Member> create_PdfMembers() {
  const auto caller = std::make_shared<Caller>();
  const std::shared_ptr<_variant_t> is_shell_extension(caller, &caller->IsShellExtension);
  return {
      {L"info", call_or_read, 0, [](Arguments) { return _variant_t(1L); }},
      {L"set_hwnd", call_or_read, 1, keep_In({caller, &caller->Window})},
      {L"set_caller", call_or_read, 1, keep_In({caller, &caller->Object})},
      {L"calledfromshellextension", call_or_read, 0,
       [is_shell_extension](Arguments) { return *is_shell_extension; }},
      {L"calledfromshellextension", DISPATCH_PROPERTYPUT, 1, keep_In(is_shell_extension)},
      {L"img2pdf", call_or_read, 2, convert_Picture},
  };
}

}  // namespace

const Component pdf_editor_component = {
    L"norvakpdf",
    L"norvakpdf.edit",
    {0x6b3812e1, 0x65d1, 0x4bf4, {0xa8, 0x07, 0x6a, 0xf6, 0xef, 0xc0, 0xe3, 0x6c}},
    create_PdfMembers,
};

}  // namespace standins
