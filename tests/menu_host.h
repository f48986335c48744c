// menuhost.exe on a machine with the suite and the registered extension.
#pragma once

#include <string>

#include "tests/explorer.h"

// A class identifier for components of a case.
const std::wstring component_id = L"{5E0A9A5B-5C0D-4C0F-9A43-5B4E2A3C1D7F}";

// A selected file, as the shell spells its drive.
const std::wstring pdf = L"C" + test_folder.substr(1) + L"a \u5951\u7D04.pdf";

// What `menuhost` printed, with "! " before each line of the error output; at last the status in brackets,
// with a word for each message box that was closed. It runs in this process or in one of its own.
Lines run_MenuHost(const std::wstring& arguments, bool here = false);

class MenuHost : public Explorer {
 protected:
  void SetUp() override;
  void TearDown() override;

  std::wstring m_suite;
};
