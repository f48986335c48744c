#include "base/guid.h"

#include <ole2.h>

std::wstring guid_Text(const GUID& guid) {
  std::wstring text(39, L'\0');  // with the terminator
  const int length = StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
  text.resize(length > 0 ? static_cast<std::size_t>(length) - 1 : 0);
  return text;
}
