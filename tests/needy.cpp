// A DLL that needs the decoy.
extern "C" __declspec(dllimport) void be_Needed();
extern "C" __declspec(dllexport) void need() {
  be_Needed();
}
