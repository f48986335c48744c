// Arranges the machine that a test runs on: registry values, files, drives. `Machine` makes it a clean one
// before each case, so no case depends on what another left behind, not even on one that crashed.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "selection/selection.h"

using Lines = std::vector<std::wstring>;

// Everything that a case makes for itself lives in here; the blank is there to find missing quotes. None of
// these is `inline`: such are made in any order, also after what is made of them.
const std::wstring test_folder = LR"(c:\norvaks machine\)";

// The suite's settings, of the machine and of the user, with a backslash at the end.
const std::wstring norvak = LR"(HKLM\Software\Norvak\)";
const std::wstring users = LR"(HKCU\Software\Norvak\)";

// A machine without settings, components and files of the suite, and with the system's own script host. The
// thread is in a single-threaded apartment.
class Machine : public testing::Test {
 public:
  ~Machine() override;

 protected:
  Machine();

  // Lets this thread's part of the product go, and waits for its work in the background. A process that ends
  // in the middle of it would be left with half of a change to its heap, which the emulation then steps on.
  static void end_Work();
};

// Waits until it is true, 20 seconds at most.
bool becomes_True(const std::function<bool()>& condition);

// Takes the rights of an administrator from the thread until the next case, and makes the suite's keys of the
// machine read-only for others, which the emulation does not do by itself.
void become_PlainUser();

// Registry values. A path starts with HKLM, which means the suite's view, HKCU or HKCR; a backslash at its
// end names the default value. `set_Bytes` stores exactly these bytes, which for a text are in the code page.
void set_Value(const std::wstring& path, const std::wstring& text);
void set_Bytes(const std::wstring& path, DWORD type, std::string_view bytes);

// A REG_SZ as it is, a REG_DWORD as "dword:" with the number, "(none)" for a missing value.
std::wstring value_At(const std::wstring& path);

// Makes a file and its folders, and returns its path. A file that exists gets the content appended.
std::wstring make_File(const std::wstring& path, const std::wstring& content = {});
// Lets everybody write in the folder, or in the file.
void open_ToAll(const std::wstring& path);
// Makes a picture of one red dot and returns its path.
std::wstring make_Picture(const std::wstring& path);
// Makes an empty drive E.
void make_DriveE();
std::string read_Bytes(const std::wstring& path);
// The lines of a UTF-8 file; none when it is missing.
Lines read_Lines(const std::wstring& path);

// The functions that a module imports, with the places of their addresses.
using Imports = std::multimap<std::string_view, IMAGE_THUNK_DATA*>;
Imports imports_Of(HMODULE module);
void set_Import(IMAGE_THUNK_DATA& import, void* replacement);
// Redirects a module's calls of a platform function to the replacement; the module is this program unless
// another is named. False when the module does not import the function.
bool patch_Import(std::string_view function, void* replacement, HMODULE module = GetModuleHandleW(nullptr));

// The platform's function of that name in kernel32, also where this program's calls of it are redirected.
void* kernel_Function(const char* name);

// Gives this program a clock of its own, in milliseconds; each look at it moves it on by the step.
inline ULONGLONG clock_Time = 0, clock_Step = 0;
void use_Clock();

// Answers a module's message boxes without showing them.
int WINAPI confirm_Box(HWND, const wchar_t*, const wchar_t*, UINT);
void answer_Boxes(HMODULE module);

// The names of the flags that are set, as one text, and back: "Folders Drive Container Mounted Pdf Xml Image
// Signable Convertible Pkcs7 Envelope Link".
std::wstring names_Of(const SelectionFlags& flags);
SelectionFlags flags_Of(const std::wstring& names);
// Gives this thread's current selection these flags.
void select_Flags(const std::wstring& names);

// The entries of a selection with these long paths.
std::vector<FileEntry> entries(const Lines& paths);

// The message boxes ("title: text") that come up while the routine runs; each is answered at once.
Lines boxes_During(const std::function<void()>& routine);
