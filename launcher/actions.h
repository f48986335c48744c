// What the picked item stands for, one row an action. Kept for the life of the process: the translated texts
// of the message box.
#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <string_view>

#include "launcher/opening.h"
#include "launcher/pkcs7_files.h"
#include "launcher/secure_drive.h"
#include "launcher/signing_queue.h"
#include "selection/selection.h"

struct Action {
  std::wstring_view Keyword;
  void (*Run)(std::span<const FileEntry> files, const SelectionFlags& flags);
  bool HasMessage;  // that no signature certificate is configured
  bool IsForPkcs7;  // done after that message, and not where a shortcut is selected
};

namespace action_routines {

template <void (*routine)(std::span<const FileEntry>)>
void with_Files(std::span<const FileEntry> files, const SelectionFlags&) {
  routine(files);
}

template <void (*routine)(const std::wstring&)>
void with_FirstPath(std::span<const FileEntry> files, const SelectionFlags&) {
  routine(files.empty() ? std::wstring() : std::wstring(files.front().LongName));
}

inline void view(std::span<const FileEntry> files, const SelectionFlags& flags) {
  open_InViewer(files, flags.HasImage);
}

inline void create(std::span<const FileEntry>, const SelectionFlags&) {
  create_Drive();
}

}  // namespace action_routines

inline constexpr auto actions = [] {
  using namespace action_routines;
  return std::array{Action{L"sfolder", with_Files<queue_ForSigning>, false, false},
                    Action{L"mount", with_FirstPath<mount_Drive>, true, false},
                    Action{L"unmount", with_FirstPath<unmount_Drive>, true, false},
                    Action{L"create", create, true, false},
                    Action{L"view", view, true, false},
                    Action{L"quill!", with_Files<open_InQuill>, true, false},
                    Action{L"signit", with_Files<queue_ForSigning>, false, false},
                    Action{L"p7s", with_Files<sign_Pkcs7>, true, true},
                    Action{L"p7m", with_Files<envelop_Pkcs7>, true, true},
                    Action{L"vPKCS7", with_Files<validate_Pkcs7>, true, true}};
}();

// The row of the keyword; null when there is none.
constexpr const Action* find_Action(std::wstring_view keyword) {
  const auto* found = std::ranges::find(actions, keyword, &Action::Keyword);
  return found == actions.end() ? nullptr : found;
}

// Carries out the action for the selection, on the calling thread. Programs are started and not waited for;
// one that is missing is simply not started.
void run_Action(const Action& action, std::span<const FileEntry> files, const SelectionFlags& flags) noexcept;
