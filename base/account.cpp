#include "base/account.h"

#include <sddl.h>

#include "base/boundary.h"
#include "base/handles.h"
#include "base/process_values.h"
#include "base/text.h"

namespace {

constinit Settled<bool> elevated;
constinit Settled<bool> service_account;

// Of this process, whomever the thread speaks for.
template <typename Value>
bool ask_Token(TOKEN_INFORMATION_CLASS what, Value& value) noexcept {
  HANDLE opened = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened))
    return false;
  const unique_kernel_handle token(opened);
  DWORD size = sizeof value;
  return GetTokenInformation(opened, what, &value, size, &size) != FALSE;
}

bool is_OfService(std::wstring_view sid) {
  constexpr std::wstring_view authority = L"S-1-5-";
  if (!sid.starts_with(authority))
    return false;
  sid.remove_prefix(authority.size());
  const auto kind = to_Number(sid.substr(0, sid.find(L'-'))).value_or(0);
  return (kind >= SECURITY_LOCAL_SYSTEM_RID && kind <= SECURITY_NETWORK_SERVICE_RID) ||
         (kind >= SECURITY_MIN_BASE_RID && kind <= SECURITY_MAX_BASE_RID);
}

}  // namespace

std::wstring sid_Text(PSID sid) {
  wchar_t* text = nullptr;
  if (!ConvertSidToStringSidW(sid, &text))
    return {};
  const unique_local_memory owner(text);
  return text;
}

std::wstring get_UserSid() {
  struct {
    TOKEN_USER User;
    BYTE Sid[SECURITY_MAX_SID_SIZE];
  } user{};
  return ask_Token(TokenUser, user) ? sid_Text(user.User.User.Sid) : std::wstring();
}

// What the system did not tell is asked for again.
bool is_Elevated() noexcept {
  if (const auto known = elevated.get())
    return *known;
  TOKEN_ELEVATION answer{};
  return !ask_Token(TokenElevation, answer) || elevated.settle(answer.TokenIsElevated != 0);
}

bool is_ServiceAccount() noexcept {
  if (const auto known = service_account.get())
    return *known;
  return run_Guarded(false, [] {
    const auto sid = get_UserSid();
    return !sid.empty() && service_account.settle(is_OfService(sid));
  });
}
