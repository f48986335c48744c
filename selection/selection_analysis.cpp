#include "selection/selection_analysis.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "base/log.h"
#include "base/text.h"
#include "files/files.h"
#include "settings/registry.h"
#include "suite/feature_probes.h"
#include "suite/suite_folders.h"

namespace {

using namespace std::string_view_literals;

constexpr std::array signable_extensions{L"p7m"sv, L"d2d"sv, L"pkcs7"sv};
constexpr std::array convertible_extensions{L"pdf"sv, L"gif"sv, L"fax"sv, L"tif"sv, L"tiff"sv, L"pcx"sv,
                                            L"jpg"sv, L"bmp"sv, L"jp2"sv, L"jpc"sv, L"pgx"sv,  L"tga"sv};

// The end of a name in lower case, a byte a letter: what follows its last dot, or its last eight letters
// where that is longer. An extension of at most eight letters is then found by comparing numbers. No
// extension has a letter outside ASCII, so one byte stands for all of those.
using Tail = std::uint64_t;

constexpr std::size_t tail_letters = sizeof(Tail);
constexpr unsigned letter_bits = 8;

constexpr Tail tail_Letter(wchar_t letter) {
  constexpr Tail other_letter = 0x80;
  if (letter >= L'A' && letter <= L'Z')
    return letter + Tail{L'a' - L'A'};
  return std::min<Tail>(letter, other_letter);
}

struct NameEnd {
  Tail Letters = 0;
  bool IsWhole = false;  // all that follows a dot
};

constexpr NameEnd end_Of(std::wstring_view name) {
  NameEnd end;
  for (unsigned count = 0; count < tail_letters && !name.empty(); ++count, name.remove_suffix(1)) {
    if (name.back() == L'.')
      break;
    end.Letters |= tail_Letter(name.back()) << (count * letter_bits);
  }
  end.IsWhole = name.ends_with(L'.');
  return end;
}

class Extension {
 public:
  explicit constexpr Extension(std::wstring_view letters)
      : m_letters(end_Of(letters).Letters),
        m_mask(~Tail{0} >> ((tail_letters - letters.size()) * letter_bits)) {}

  constexpr bool ends(Tail name) const { return ((name ^ m_letters) & m_mask) == 0; }

 private:
  Tail m_letters;
  Tail m_mask;
};

bool is_Link(Tail name) {
  constexpr Extension shortcut(L"lnk");
  constexpr Extension internet_shortcut(L"url");
  return shortcut.ends(name) || internet_shortcut.ends(name);
}

// The entries as the extension tests see them. Some twenty-five tests walk the same names in their order, and
// only the first name with an ending can matter to a walk, so the endings are what is kept. The file system
// is asked about a name once at most.
class NameScan {
 public:
  NameScan(std::span<const FileEntry> files, SelectionFlags& flags) : m_flags(flags) {
    for (const auto& entry : files) {
      if (entry.path().empty())
        break;  // a name that could not be read ends every walk
      add(entry.path());
    }
    m_files = files.first(m_count);
  }

  // True when a name ends in the extension. A link ends the walk of a three-letter extension, so that it
  // hides every later name; each name on the way is tested for an image.
  bool has_Extension(std::wstring_view letters) {
    constexpr std::size_t link_letters = 3;
    const Extension extension(letters);
    for (const auto& ending : m_endings) {
      const bool is_link = ending.IsLink && letters.size() == link_letters;
      if (!is_link && !extension.ends(ending.Letters))
        continue;
      test_Images(ending.First + 1);
      m_flags.HasLink |= is_link;
      return !is_link;
    }
    test_Images(m_count);
    return false;
  }

  template <typename Extensions>
  bool has_AnyExtension(const Extensions& extensions) {
    // Every walk is made, since each sets flags on its way.
    return std::ranges::count_if(extensions, [this](auto extension) { return has_Extension(extension); }) > 0;
  }

 private:
  struct Ending {
    Tail Letters;
    std::size_t First;  // the first name that has it
    bool IsLink;
  };

  void add(std::wstring_view name) {
    const auto count = m_count++;
    if (!m_last_ending.empty() && name.ends_with(m_last_ending))
      return;
    constexpr std::size_t remembered_endings = 16;  // a selection with more of them is walked name by name
    const auto end = end_Of(name);
    m_last_ending = end.IsWhole ? name.substr(name.rfind(L'.')) : std::wstring_view();
    const auto known = std::span(m_endings).first(std::min(m_endings.size(), remembered_endings));
    if (!end.IsWhole || std::ranges::find(known, end.Letters, &Ending::Letters) == known.end()) {
      m_endings.push_back({end.Letters, count, is_Link(end.Letters)});
      m_has_images |= has_ImageExtension(name);
    }
  }

  void test_Images(std::size_t end) {
    for (; m_has_images && m_images_tested < end; ++m_images_tested) {
      if (m_flags.HasImage && m_flags.HasConvertible)
        return;
      if (is_ImageFile(std::wstring(m_files[m_images_tested].path())))
        m_flags.HasImage = m_flags.HasConvertible = true;
    }
  }

  SelectionFlags& m_flags;
  std::span<const FileEntry> m_files;
  std::vector<Ending> m_endings;
  std::wstring_view m_last_ending;  // with its dot, as the name before has it
  std::size_t m_count = 0;
  bool m_has_images = false;  // some name ends like an image
  std::size_t m_images_tested = 0;
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
  // Links are found by any walk of three letters; the walks for them make sure that there is one to the end.
  scan.has_Extension(L"url");
  scan.has_Extension(L"lnk");
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
