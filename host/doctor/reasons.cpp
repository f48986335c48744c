#include "host/doctor/reasons.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>

#include "base/text.h"
#include "host/doctor/named_programs.h"
#include "host/language.h"
#include "settings/settings.h"
#include "suite/feature_probes.h"

namespace host {
namespace {

std::wstring describe_Missing(std::initializer_list<NamedProgram> wanted) {
  std::vector<std::wstring> searches(wanted.size());
  std::ranges::transform(wanted, searches.begin(), [](const NamedProgram& program) {
    return std::wstring(program.Name) + L": " + describe_Search(list_SearchedPaths(program.Kind));
  });
  return join(searches, L"; ");
}

std::wstring describe_MissingApplication() {
  return say(TEXT_NO_PDF_APPLICATION, {describe_Missing({programs[0], programs[1], programs[2]})});
}

std::wstring describe_MissingContainer() {
  return say(TEXT_NO_KEY_CONTAINER, {users_container.Path});
}

std::wstring describe_MissingCardFeature() {
  const auto tool = find_ConfigurationTool().empty() ? L"; " + say(TEXT_NO_CONFIGURATION_TOOL) : L"";
  return say(TEXT_NO_CARD_FEATURE) + tool;
}

std::wstring describe_MissingQuill() {
  return say(TEXT_NO_SIGNING_APPLICATION, {describe_Missing({programs[3]})});
}

std::wstring describe_MissingWorkerOrApplication() {
  return find_WorkerProcess().empty() ? say(TEXT_NO_SIGNING_WORKER, {describe_Missing({programs[4]})})
                                      : describe_MissingApplication();
}

std::wstring describe_MissingRoute() {
  return say(TEXT_NO_SIGNING_ROUTE, {describe_MissingQuill(), describe_MissingApplication()});
}

std::wstring describe_MissingMultiSigner() {
  return say(TEXT_NO_MULTI_SIGNER, {multi_signer.Path});
}

enum class About { Selection, Machine };

struct Reason {
  Condition Missing;
  About Subject;
  unsigned long Sentence;
  std::wstring (*Describe)() = nullptr;  // instead of a sentence
};

constexpr std::array reasons{
    Reason{conditions::folders, About::Selection, TEXT_NOT_FOLDERS_ALONE},
    Reason{conditions::files, About::Selection, TEXT_FOLDERS_ALONE},
    Reason{conditions::multi_signer_on, About::Machine, 0, describe_MissingMultiSigner},
    Reason{conditions::card_feature, About::Machine, 0, describe_MissingCardFeature},
    Reason{conditions::drive_root, About::Selection, TEXT_NO_DRIVE_ROOT},
    Reason{conditions::container, About::Selection, TEXT_NO_CONTAINER},
    Reason{conditions::no_container, About::Selection, TEXT_CONTAINER},
    Reason{conditions::mounted, About::Selection, TEXT_NOT_MOUNTED},
    Reason{conditions::not_mounted, About::Selection, TEXT_MOUNTED},
    Reason{conditions::pdf_application, About::Machine, 0, describe_MissingApplication},
    Reason{conditions::viewable, About::Selection, TEXT_NOTHING_VIEWABLE},
    Reason{conditions::quill, About::Machine, 0, describe_MissingQuill},
    Reason{conditions::signable, About::Selection, TEXT_NOTHING_SIGNABLE},
    Reason{conditions::worker_and_application, About::Machine, 0, describe_MissingWorkerOrApplication},
    Reason{conditions::convertible, About::Selection, TEXT_NOTHING_CONVERTIBLE},
    Reason{conditions::container_name, About::Machine, 0, describe_MissingContainer},
    Reason{conditions::signing_route, About::Machine, 0, describe_MissingRoute},
    Reason{conditions::pkcs7, About::Selection, TEXT_NO_PKCS7},
    Reason{conditions::no_pkcs7, About::Selection, TEXT_PKCS7},
    Reason{conditions::no_link, About::Selection, TEXT_LINK}};

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

Condition find_TellingCondition(const MenuItem& item, const SelectionFlags& flags) {
  for (const auto subject : {About::Selection, About::Machine})
    for (const Condition& condition : item.Needs)
      if (condition.Name != nullptr && find_Reason(condition)->Subject == subject && !condition.Holds(flags))
        return condition;
  return {};
}

std::wstring describe_Reason(const Condition& missing) {
  if (missing.Name == nullptr)
    return {};
  const Reason& row = *find_Reason(missing);
  return row.Describe != nullptr ? row.Describe() : say(row.Sentence);
}

}  // namespace host
