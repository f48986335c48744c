#include "selection/selection_analysis.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/log.h"
#include "base/text.h"
#include "files/file_extensions.h"
#include "files/files.h"
#include "settings/registry.h"
#include "suite/feature_probes.h"
#include "suite/suite_folders.h"

namespace {

using namespace std::string_view_literals;

constexpr std::array signable_extensions{L"p7m"sv, L"d2d"sv, L"pkcs7"sv};
constexpr std::array convertible_extensions{L"pdf"sv, L"gif"sv, L"fax"sv, L"tif"sv, L"tiff"sv, L"pcx"sv,
                                            L"jpg"sv, L"bmp"sv, L"jp2"sv, L"jpc"sv, L"pgx"sv,  L"tga"sv};
constexpr std::array link_extensions{L"lnk"sv, L"url"sv};

// With those that are looked for by themselves.
constexpr auto extensions = [] {
  std::array<std::wstring_view, 2 + signable_extensions.size() + convertible_extensions.size()> all{L"xml",
                                                                                                    L"p7s"};
  std::ranges::copy(convertible_extensions, std::ranges::copy(signable_extensions, all.begin() + 2).out);
  return all;
}();
constexpr std::size_t longest_extension = 5;

// The end of a name, in lower case as far as its letters are those of extensions.
std::wstring tail_Of(std::wstring_view name) {
  std::wstring tail(name.substr(name.size() - std::min(name.size(), longest_extension)));
  for (auto& letter : tail)
    if (letter >= L'A' && letter <= L'Z')
      letter += L'a' - L'A';
  return tail;
}

// The entries as the extension tests see them. Some twenty tests walk the same names in their order, and only
// the first name with an ending can matter to a walk, so its place is what is kept. The file system is asked
// about a name once at most.
class NameScan {
 public:
  NameScan(std::span<const FileEntry> files, SelectionFlags& flags) : m_files(files), m_flags(flags) {
    m_first.fill(no_name);
    for (const auto& entry : files) {
      if (entry.path().empty())
        break;  // a name that could not be read ends every walk
      add(entry.path());
    }
  }

  // True when a name ends in the extension. A link ends the walk of a three-letter extension, so that it
  // hides every later name; each name up to there is tested for an image.
  bool has_Extension(std::wstring_view extension) {
    constexpr std::size_t link_letters = 3;
    const auto* const row = std::ranges::find(extensions, extension);
    const auto first =
        row == extensions.end() ? no_name : m_first[static_cast<std::size_t>(row - extensions.begin())];
    const bool is_hidden = extension.size() == link_letters && m_first_link < first;
    m_flags.HasLink |= is_hidden;
    test_Images(is_hidden ? m_first_link : first);
    return !is_hidden && first != no_name;
  }

  template <typename Extensions>
  bool has_AnyExtension(const Extensions& wanted) {
    // Every walk is made, since each sets flags.
    return std::ranges::count_if(wanted, [this](auto extension) { return has_Extension(extension); }) > 0;
  }

 private:
  static constexpr auto no_name = static_cast<std::size_t>(-1);

  void add(std::wstring_view name) {
    const auto index = m_count++;
    if (m_last_ending.empty() || !name.ends_with(m_last_ending)) {
      const auto dot = name.rfind(L'.');
      m_last_ending = dot == std::wstring_view::npos ? std::wstring_view() : name.substr(dot);
      m_is_image = has_ImageExtension(name);
      note_Endings(tail_Of(name), index);
    }
    if (m_is_image)
      m_images.push_back(index);
  }

  void note_Endings(const std::wstring& tail, std::size_t index) {
    const auto ends = [&tail](std::wstring_view extension) { return tail.ends_with(extension); };
    for (std::size_t row = 0; row < extensions.size(); ++row)
      if (m_first[row] == no_name && ends(extensions[row]))
        m_first[row] = index;
    if (m_first_link == no_name && std::ranges::any_of(link_extensions, ends))
      m_first_link = index;
  }

  void test_Images(std::size_t last) {
    for (; m_next_image < m_images.size() && m_images[m_next_image] <= last; ++m_next_image) {
      if (m_flags.HasImage && m_flags.HasConvertible)
        return;
      if (is_ImageFile(std::wstring(m_files[m_images[m_next_image]].path())))
        m_flags.HasImage = m_flags.HasConvertible = true;
    }
  }

  std::span<const FileEntry> m_files;
  SelectionFlags& m_flags;
  std::size_t m_count = 0;
  std::wstring_view m_last_ending;  // from its dot on; a name with the same one needs no look at the tables
  bool m_is_image = false;          // by that ending
  std::array<std::size_t, extensions.size()> m_first{};  // the first name with each extension
  std::size_t m_first_link = no_name;
  std::vector<std::size_t> m_images;  // the names that end like images
  std::size_t m_next_image = 0;       // of those, the first that was not asked for
};

bool all_Folders(std::span<const FileEntry> files) {
  return !files.empty() && std::ranges::all_of(files, [](const FileEntry& entry) {
    return folder_Exists(std::wstring(entry.path()));
  });
}

SelectionFlags analyze_Files(std::span<const FileEntry> files) {
  SelectionFlags flags;
  NameScan scan(files, flags);
  flags.ContainerPresent = true;
  flags.HasPdf = scan.has_Extension(L"pdf");
  flags.HasXml = scan.has_Extension(L"xml");
  flags.HasSignable = scan.has_AnyExtension(signable_extensions) || flags.HasPdf || flags.HasXml;
  flags.HasConvertible |= scan.has_AnyExtension(convertible_extensions);
  flags.HasEnvelope = scan.has_Extension(L"p7m");
  flags.HasPkcs7 = scan.has_Extension(L"p7s") || flags.HasEnvelope;
  // Links are found by any walk of three letters; one for them alone goes to the end.
  scan.has_Extension(link_extensions.front());
  return flags;
}

bool is_DriveRoot(std::wstring_view path) {
  return path.size() == 3 && path.substr(1) == LR"(:\)";
}

void analyze_Drive(std::wstring path, SelectionFlags& flags) {
  if (path.size() == 2 && path[1] == L':')
    path += L'\\';
  if (!is_DriveRoot(path))
    return;
  flags.IsDrive = true;
  debug_Log(L"This is a drive");
  flags.ContainerPresent = file_Exists(path + LR"(norvak\norvak.tc)");
  flags.DriveMounted = file_Exists(path + L"mounted.txt");
}

SelectionFlags analyze_Folders(std::span<const FileEntry> files, const std::wstring& install_folder) {
  SelectionFlags flags;
  flags.FilesAreFolder = flags.ContainerPresent = true;
  if (files.size() == 1 && !find_InFolder(install_folder, L"vaultware.exe").empty()) {
    debug_Log(L"DataFiles contains one entry");
    analyze_Drive(std::wstring(files.front().path()), flags);
  } else if (is_LogOn()) {
    debug_Log(L"DataFiles contains " + decimal(static_cast<long long>(files.size())) + L" entries");
  }
  debug_Log(L"Files are all Directory");
  return flags;
}

}  // namespace

SelectionFlags analyze_Selection(std::span<const FileEntry> files) {
  const RememberedReads reads(RememberedReads::For::Selection);
  const auto install_folder = get_InstallFolder();
  is_CardSigningAvailable();  // settled with the first selection, of folders too, as the menu will find it
  return all_Folders(files) ? analyze_Folders(files, install_folder) : analyze_Files(files);
}
