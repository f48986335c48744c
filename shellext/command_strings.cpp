#include "shellext/command_strings.h"

#include <shobjidl.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "base/text.h"
#include "launcher/action_table.h"

namespace {

std::wstring compose_Answer(UINT_PTR command, UINT flags, const std::wstring& caption) {
  switch (flags) {
    case GCS_VERBA:
    case GCS_VERBW:
      return L"(GCS_VERB)MENUITEM" + decimal(static_cast<long>(command + 1));
    case GCS_HELPTEXTA:
    case GCS_HELPTEXTW:
      return caption;
    case GCS_VALIDATEA:
    case GCS_VALIDATEW:
      return L"(GCS_VALIDATE)" + caption;
    default:
      return {};
  }
}

// Hosts pass the room without the terminator, so a full buffer gets the terminator behind its last character.
template <typename Letter>
void write_Text(std::basic_string_view<Letter> text, void* buffer, UINT room) {
  const auto length = std::min<std::size_t>(text.size(), room);
  auto* bytes = static_cast<char*>(buffer);  // a host's buffer of bytes need not be aligned for wide letters
  std::memcpy(bytes, text.data(), length * sizeof(Letter));
  std::memset(bytes + length * sizeof(Letter), 0, sizeof(Letter));
}

}  // namespace

void answer_CommandString(UINT_PTR command, UINT flags, char* text, UINT room) {
  const auto caption = get_MenuName(static_cast<long>(command));
  const auto answer = caption.empty() ? caption : compose_Answer(command, flags, caption);
  if (answer.empty() || text == nullptr || room == 0)
    return;
  if ((flags & GCS_UNICODE) != 0)
    write_Text<wchar_t>(answer, text, room);
  else
    write_Text<char>(to_Ansi(answer), text, room);
}
