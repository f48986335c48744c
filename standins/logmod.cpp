// "logging.logme": appends the lines of the suite's diagnostic logs to their files.
#include <memory>

#include "standins/component_server.h"
#include "standins/utf8_file.h"

namespace standins {
namespace {

_variant_t append_LogLine(Arguments arguments) {
  const auto code = append_Line(as_Text(arguments[1]), as_Text(arguments[0]));
  throw_UnlessSuccess(static_cast<LSTATUS>(code));
  return {};
}

std::vector<Member> create_LogMembers() {
  // The line always comes with its full path; the name is kept for callers that ask for it again.
  const auto file_name = std::make_shared<std::wstring>();
  return {
      {L"info", call_or_read, 0, [](Arguments) { return _variant_t(1L); }},
      {L"LogfileName", call_or_read, 0, [file_name](Arguments) { return _variant_t(file_name->c_str()); }},
      {L"LogfileName", DISPATCH_PROPERTYPUT, 1,
       [file_name](Arguments arguments) {
         *file_name = as_Text(arguments[0]);
         return _variant_t();
       }},
      {L"logge", call_or_read, 2, append_LogLine},
  };
}

}  // namespace

const Component log_component = {
    L"logmod",
    L"logging.logme",
    {0x0ebe81ba, 0x307a, 0x4ee2, {0xbf, 0x4f, 0x59, 0x7c, 0x8a, 0xf7, 0xc2, 0xd5}},
    create_LogMembers,
};

}  // namespace standins
