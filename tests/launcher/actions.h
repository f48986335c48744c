// Actions with the whole suite installed, for the test files that carry them out.
#pragma once

#include <filesystem>

#include "base/text.h"
#include "launcher/actions.h"
#include "tests/components.h"
#include "tests/explorer.h"

const Lines box{L"Configuration Problem: No Signature Certificate Configured"};
inline Lines run(std::wstring_view action, const std::vector<FileEntry>& files) {
  return boxes_During([&] { run_Action(*find_Action(action), files, current_Selection()->Flags); });
}

inline Lines temporary_Files() {
  Lines names;
  for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path()))
    if (contains(entry.path().wstring(), L"nvk"))
      names.push_back(entry.path());
  return names;
}

// Answers true and makes the file that the argument names.
inline Member makes_File(std::size_t argument) {
  return [argument](const Arguments& arguments) {
    make_File(text_Of(arguments.at(argument)), L"made");
    return _variant_t(true);
  };
}

// Starts of the suite's programs and calls of its components are recorded.
class Actions : public Machine {
 protected:
  Actions() { record_Starts(); }
  std::wstring start(const std::wstring& program, const std::wstring& rest) const {
    return ::quoted(m_suite + program) + rest;
  }
  Lines starts(const std::wstring& program, const Lines& names) const {
    Lines lines;
    for (const auto& name : names)
      lines.push_back(opening(program, test_folder + name));
    return lines;
  }
  const std::wstring m_suite = install_Suite();
  ValueStore m_store;
  Component m_editor{L"norvakpdf.edit",
                     {{L"set_hwnd", answers({})},
                      {L"calledfromshellextension", answers({})},
                      {L"set_caller", answers({})},
                      {L"img2pdf", [](const Arguments&) {
                         const auto path =
                             make_File(std::filesystem::temp_directory_path() / L"nvk.pdf", L"made");
                         return _variant_t(path.c_str());
                       }}}};
  Component m_pkcs7{
      L"norvakcsp.PKCS7",
      {{L"WindowHandle", answers({})}, {L"create_P7x", makes_File(1)}, {L"validate_P7x", makes_File(1)}}};
};
