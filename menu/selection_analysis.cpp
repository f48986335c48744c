#include "menu/selection_analysis.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "support/diagnostic_log.h"
#include "support/feature_probes.h"
#include "support/file_types.h"
#include "support/files.h"
#include "support/suite_folders.h"
#include "support/text.h"

namespace {

using namespace std::string_view_literals;

constexpr std::array signable_extensions{L"p7m"sv, L"d2d"sv, L"pkcs7"sv};
constexpr std::array convertible_extensions{L"pdf"sv, L"gif"sv, L"fax"sv, L"tif"sv, L"tiff"sv, L"pcx"sv,
                                            L"jpg"sv, L"bmp"sv, L"jp2"sv, L"jpc"sv, L"pgx"sv,  L"tga"sv};

// The last eight letters of a name in lower case, so that a test for an extension is a comparison of numbers.
struct Tail {
  std::uint64_t Last4 = 0;
  std::uint64_t Before4 = 0;
};

constexpr std::size_t tail_letters = 8;
constexpr unsigned letter_bits = 16;

Tail tail_Of(std::wstring_view name) {
  Tail tail;
  for (const wchar_t letter : name.substr(name.size() - std::min(name.size(), tail_letters))) {
    tail.Before4 = tail.Before4 << letter_bits | tail.Last4 >> (3 * letter_bits);
    tail.Last4 = tail.Last4 << letter_bits | to_Lower(letter);
  }
  return tail;
}

std::uint64_t mask_Of(std::size_t letters) {
  constexpr std::size_t all = 4;
  return letters >= all ? ~std::uint64_t{0} : (std::uint64_t{1} << (letters * letter_bits)) - 1;
}

// A lower-case extension of at most eight letters.
class Extension {
 public:
  explicit Extension(std::wstring_view letters)
      : m_tail(tail_Of(letters)),
        m_mask{mask_Of(letters.size()), mask_Of(letters.size() - std::min<std::size_t>(letters.size(), 4))} {}

  bool ends(const Tail& name) const {
    return ((name.Last4 ^ m_tail.Last4) & m_mask.Last4) == 0 &&
           ((name.Before4 ^ m_tail.Before4) & m_mask.Before4) == 0;
  }

 private:
  Tail m_tail;
  Tail m_mask;
};

bool is_Link(const Tail& name) {
  static const Extension shortcut(L"lnk");
  static const Extension internet_shortcut(L"url");
  return shortcut.ends(name) || internet_shortcut.ends(name);
}

// The entries as the extension tests see them. Some twenty-five tests walk the same names, so what they ask
// of a name is worked out once, and the file system is asked about a name once at most.
class NameScan {
 public:
  explicit NameScan(std::span<const FileEntry> files) {
    m_names.reserve(files.size());
    for (const auto& entry : files) {
      const auto& name = entry.path();
      if (name.empty())
        return;  // a name that could not be read ends every walk
      const auto tail = tail_Of(name);
      m_names.push_back({&name, tail, is_Link(tail)});
    }
  }

  // True when a name ends in the extension. A link ends the walk of a three-letter extension, so that it
  // hides every later name; each name on the way is tested for an image.
  bool has_Extension(std::wstring_view letters) {
    constexpr std::size_t link_letters = 3;
    const Extension extension(letters);
    for (std::size_t index = 0; index < m_names.size(); ++index) {
      test_Image(index);
      const auto& name = m_names[index];
      if (name.IsLink && letters.size() == link_letters) {
        selection_flags().HasLink = VARIANT_TRUE;
        return false;
      }
      if (extension.ends(name.End))
        return true;
    }
    return false;
  }

  template <typename Extensions>
  bool has_AnyExtension(const Extensions& extensions) {
    // Every walk is made, since each sets flags on its way.
    return std::ranges::count_if(extensions, [this](auto extension) { return has_Extension(extension); }) > 0;
  }

 private:
  struct Name {
    const std::wstring* Path;
    Tail End;
    bool IsLink;
  };

  void test_Image(std::size_t index) {
    if (index < m_images_tested)
      return;
    m_images_tested = index + 1;
    auto& flags = selection_flags();
    const bool settled = flags.HasImage && flags.HasConvertible;
    if (!settled && is_ImageFile(*m_names[index].Path))
      flags.HasImage = flags.HasConvertible = VARIANT_TRUE;
  }

  std::vector<Name> m_names;
  std::size_t m_images_tested = 0;
};

bool all_Folders(const std::vector<std::wstring>& paths) {
  return !paths.empty() && std::ranges::all_of(paths, folder_Exists);
}

void set_If(VARIANT_BOOL& flag, bool condition) {
  if (condition)
    flag = VARIANT_TRUE;
}

void analyze_Files(std::span<const FileEntry> files) {
  auto& flags = selection_flags();
  NameScan scan(files);
  flags.IsDrive = VARIANT_FALSE;
  flags.ContainerPresent = VARIANT_TRUE;
  flags.HasPdf = to_VariantBool(scan.has_Extension(L"pdf"));
  set_If(flags.HasSignable, flags.HasPdf);
  flags.HasXml = to_VariantBool(scan.has_Extension(L"xml"));
  set_If(flags.HasSignable, flags.HasXml);
  set_If(flags.HasSignable, scan.has_AnyExtension(signable_extensions));
  set_If(flags.HasConvertible, scan.has_AnyExtension(convertible_extensions));
  if (scan.has_Extension(L"p7m")) {
    flags.HasPkcs7 = VARIANT_TRUE;
    repair_Pkcs7Icons();
  }
  set_If(flags.HasPkcs7, scan.has_Extension(L"p7s"));
  // Links are found by any walk of three letters; the walks for them make sure that there is one to the end.
  scan.has_Extension(L"url");
  scan.has_Extension(L"lnk");
}

bool is_DriveRoot(std::wstring_view path) {
  return path.size() == 3 && path.substr(1) == LR"(:\)";
}

void analyze_Drive(std::wstring& path) {
  auto& flags = selection_flags();
  if (path.size() == 2 && path[1] == L':')
    path += L'\\';
  if (!is_DriveRoot(path))
    return;
  flags.IsDrive = VARIANT_TRUE;
  debug_Log(L"This is a drive");
  flags.ContainerPresent = to_VariantBool(file_Exists(path + LR"(norvak\norvak.tc)"));
  flags.DriveMounted = to_VariantBool(file_Exists(path + L"mounted.txt"));
}

void analyze_Folders(std::span<const FileEntry> files, const std::wstring& install_folder) {
  auto& flags = selection_flags();
  auto& paths = selected_files();
  flags.DriveMounted = VARIANT_FALSE;
  flags.ContainerPresent = VARIANT_TRUE;
  flags.IsDrive = VARIANT_FALSE;
  if (!files.empty() && !files.front().LongName.empty())
    paths.front() = files.front().LongName;
  if (paths.size() == 1 && !find_InFolder(install_folder, L"vaultware.exe").empty()) {
    debug_Log(L"DataFiles contains one entry");
    analyze_Drive(paths.front());
  } else if (is_LogOn()) {
    debug_Log(L"DataFiles contains " + decimal(paths.size()) + L" entries");
  }
  flags.HasPdf = flags.HasSignable = flags.HasXml = flags.HasConvertible = flags.HasPkcs7 = VARIANT_FALSE;
  debug_Log(L"Files are all Directory");
}

}  // namespace

void analyze_Selection(std::span<const FileEntry> files) {
  const auto install_folder = get_InstallFolder();
  update_CardSigningAvailable();
  selection_flags().FilesAreFolder = to_VariantBool(all_Folders(selected_files()));
  if (selection_flags().FilesAreFolder)
    analyze_Folders(files, install_folder);
  else
    analyze_Files(files);
}
