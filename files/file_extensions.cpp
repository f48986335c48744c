#include "files/file_extensions.h"

#include <algorithm>
#include <array>

#include "base/text.h"
#include "files/files.h"

namespace {

using namespace std::string_view_literals;

constexpr std::array image_extensions{L"bmp"sv, L"fax"sv, L"tif"sv, L"tiff"sv, L"jpg"sv,
                                      L"jp2"sv, L"jpc"sv, L"pcx"sv, L"gif"sv,  L"png"sv,
                                      L"wmf"sv, L"emf"sv, L"tga"sv, L"pgx"sv,  L"jb2"sv};

}  // namespace

std::wstring get_Extension(std::wstring_view path) {
  return to_Lower(trim(after_Last(path, L'.')));
}

bool has_ImageExtension(std::wstring_view path) {
  const auto dot = path.rfind(L'.');
  if (dot == std::wstring_view::npos)
    return false;
  return std::ranges::any_of(image_extensions, [extension = trim(path.substr(dot + 1))](auto known) {
    return equals_IgnoringCase(extension, known);
  });
}

bool is_ImageFile(const std::wstring& path) {
  return has_ImageExtension(path) && !folder_Exists(path);
}
