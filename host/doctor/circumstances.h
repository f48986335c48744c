// Under what circumstances a report was made. No state.
#pragma once

#include <windows.h>

#include <string>

namespace host {

struct Circumstances {
  std::wstring Windows;  // its version, "10.0.19045"
  unsigned long WindowsBuild = 0;
  int WindowsBits = 0;
  std::wstring Account;  // with its domain or machine
  bool IsElevated = false;
  SYSTEMTIME Time{};  // universal
};

Circumstances find_Circumstances();

}  // namespace host
