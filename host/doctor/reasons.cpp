#include "host/doctor/reasons.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>

#include "host/doctor/named_programs.h"
#include "menu/items.h"
#include "settings/settings.h"
#include "suite/feature_probes.h"

namespace host {
namespace {

std::wstring describe_Missing(std::initializer_list<NamedProgram> wanted) {
  std::wstring sentence;
  for (const NamedProgram& program : wanted) {
    sentence +=
        (sentence.empty() ? L"" : L"; ") + std::wstring(program.Name) + L": " + describe_Search(program.Kind);
  }
  return sentence;
}

std::wstring describe_MissingApplication() {
  return L"no PDF application: " + describe_Missing({programs[0], programs[1], programs[2]});
}

std::wstring describe_MissingContainer() {
  return std::wstring(L"no key container: ") + users_container.Path + L" is empty";
}

std::wstring describe_MissingCardFeature() {
  const std::wstring tool = find_ConfigurationTool().empty() ? L"; NorvakConfig.exe was not found" : L"";
  return L"neither the card connector nor the credential provider is switched on" + tool;
}

std::wstring describe_MissingQuill() {
  return L"no signing application: " + describe_Missing({programs[3]});
}

std::wstring describe_MissingWorkerOrApplication() {
  return find_WorkerProcess().empty() ? L"no signing worker: " + describe_Missing({programs[4]})
                                      : describe_MissingApplication();
}

std::wstring describe_MissingRoute() {
  return L"no signing application (" + describe_Missing({programs[3]}) + L"), " +
         describe_MissingApplication() + L", and no card feature is switched on";
}

std::wstring describe_MissingMultiSigner() {
  return std::wstring(L"the multi-signer is not switched on: ") + multi_signer.Path + L" is not 1";
}

struct Reason {
  Condition Missing;
  const wchar_t* Sentence;
  std::wstring (*Describe)() = nullptr;  // instead of a sentence
};

constexpr std::array reasons{
    Reason{conditions::folders, L"the selection is not folders alone"},
    Reason{conditions::files, L"the selection is folders alone"},
    Reason{conditions::multi_signer_on, nullptr, describe_MissingMultiSigner},
    Reason{conditions::card_feature, nullptr, describe_MissingCardFeature},
    Reason{conditions::drive_root,
           L"the selection is not the root of one drive, or Vaultware.exe is not in the install folder"},
    Reason{conditions::container, LR"(the drive holds no container (norvak\norvak.tc))"},
    Reason{conditions::no_container, LR"(the drive holds a container (norvak\norvak.tc) already)"},
    Reason{conditions::mounted, L"the drive is not mounted (no mounted.txt in its root)"},
    Reason{conditions::not_mounted, L"the drive is mounted (mounted.txt in its root)"},
    Reason{conditions::pdf_application, nullptr, describe_MissingApplication},
    Reason{conditions::viewable, L"no PDF, XML or image file is selected"},
    Reason{conditions::quill, nullptr, describe_MissingQuill},
    Reason{conditions::signable, L"no file is selected that the signing application opens"},
    Reason{conditions::worker_and_application, nullptr, describe_MissingWorkerOrApplication},
    Reason{conditions::convertible, L"no file is selected that is or can become a PDF"},
    Reason{conditions::container_name, nullptr, describe_MissingContainer},
    Reason{conditions::signing_route, nullptr, describe_MissingRoute},
    Reason{conditions::pkcs7, L"no PKCS#7 file (.p7m, .p7s) is selected"},
    Reason{conditions::no_pkcs7, L"a PKCS#7 file (.p7m, .p7s) is selected"},
    Reason{conditions::no_link, L"a shortcut is selected"}};

constexpr const Reason* find_Reason(const Condition& missing) {
  const auto* found = std::ranges::find_if(
      reasons, [&](const Reason& row) { return std::wstring_view(row.Missing.Name) == missing.Name; });
  return found == reasons.end() ? nullptr : found;
}

constexpr bool has_ReasonForAll(const MenuItem& item) {
  return std::ranges::all_of(item.Needs, [](const Condition& condition) {
    return condition.Name == nullptr || find_Reason(condition) != nullptr;
  });
}
static_assert(std::ranges::all_of(menu_items, has_ReasonForAll));

}  // namespace

std::wstring describe_Reason(const Condition& missing) {
  if (missing.Name == nullptr)
    return {};
  const Reason& row = *find_Reason(missing);
  return row.Describe != nullptr ? row.Describe() : row.Sentence;
}

}  // namespace host
