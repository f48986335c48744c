// A DLL that nothing may load: it records its path, as the stand-in programs record their starts.
#include <windows.h>

#include <array>

#include "standins/utf8_file.h"

extern "C" __declspec(dllexport) void be_Needed() {}

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void*) {
  std::array<wchar_t, MAX_PATH> own{}, record{};
  GetModuleFileNameW(instance, own.data(), MAX_PATH);
  GetEnvironmentVariableW(L"NORVAK_SUITE_RECORD", record.data(), MAX_PATH);
  if (reason == DLL_PROCESS_ATTACH)
    standins::append_Line(record.data(), own.data());
  return TRUE;
}
