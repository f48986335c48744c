// Times right-clicks with the product and with the floor handler in turn, so that what slows the machine
// slows both. SUITE says in the results what is installed.
//   bench SUITE FILE         writes one JSON object a line into FILE, and prints the same
//   bench --windows SUITE    right-clicks in a window for each processor at once, and prints medians
//   bench --first-menu SUITE what the first menu of Windows 11 asks, with its share of a classic right-click
//   bench --load HANDLER     gets the handler's class in this new process; the exit code is the microseconds
//   bench --cold HANDLER     the same with a whole right-click on one file
#include <windows.h>

#include <ole2.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/floor_handler.h"
#include "bench/right_click.h"
#include "bench/stopwatch.h"
#include "host/explorer/drop_list.h"
#include "shellext/class_identifiers.h"
#include "tests/thread.h"

namespace {

struct Handler {
  const char* Name;
  CLSID Class;
};

constexpr std::array handlers{Handler{"floor", clsid_Floor}, Handler{"norvak", clsid_ShellExt}};

struct Kind {
  const char* Name;
  const wchar_t* Pattern;
  std::size_t Count;
};

constexpr std::array kinds{
    Kind{"files", L"Letter %04u.pdf", 1},       Kind{"files", L"Letter %04u.pdf", 10},
    Kind{"files", L"Letter %04u.pdf", 100},     Kind{"files", L"Letter %04u.pdf", 1000},
    Kind{"files", L"Letter %04u.pdf", 5000},    Kind{"folders", L"Folder %04u", 1000},
    Kind{"pictures", L"Picture %04u.jpg", 1000}};

// The paths of a selection, each of which exists.
std::vector<std::wstring> make_Paths(const Kind& kind) {
  const std::filesystem::path folder(LR"(c:\Correspondence\Offers and invoices)");
  std::filesystem::create_directories(folder);
  std::vector<std::wstring> paths;
  for (unsigned number = 1; number <= kind.Count; ++number) {
    std::array<wchar_t, 32> name;
    wsprintfW(name.data(), kind.Pattern, number);
    const auto path = folder / name.data();
    if (std::string_view(kind.Name) == "folders")
      std::filesystem::create_directory(path);
    else
      std::ofstream(path, std::ios::app);
    paths.push_back(path.wstring());
  }
  return paths;
}

// A sample's quartiles; the middle one is the median.
using Quartiles = std::array<double, 3>;

Quartiles quartiles_Of(std::vector<double> sample) {
  std::ranges::sort(sample);
  Quartiles quartiles;
  for (std::size_t part = 0; part < quartiles.size(); ++part)
    quartiles[part] = sample[(sample.size() - 1) * (part + 1) / 4];
  return quartiles;
}

constexpr const char* architecture = sizeof(void*) == 4 ? "i686" : "x86_64";

class Results {
 public:
  Results(std::string suite, const char* file) : m_suite(std::move(suite)), m_lines(file) {}

  // Writes the handlers' samples of one kind and phase, and prints them with the ratio of their medians.
  void add(const Kind& kind, const char* phase,
           const std::array<std::vector<double>, handlers.size()>& samples) {
    std::array<double, handlers.size()> medians;
    for (std::size_t index = 0; index < handlers.size(); ++index) {
      const auto [first, median, third] = quartiles_Of(samples[index]);
      medians[index] = median;
      std::array<char, 512> line;
      snprintf(
          line.data(), line.size(),
          R"({"architecture": "%s", "suite": "%s", "selection": "%s", "count": %u, "phase": "%s", "handler": "%s", )"
          R"("first_quartile_us": %.1f, "median_us": %.1f, "third_quartile_us": %.1f})",
          architecture, m_suite.c_str(), kind.Name, static_cast<unsigned>(kind.Count), phase,
          handlers[index].Name, first, median, third);
      m_lines << line.data() << '\n';
      printf("%-6s %-10s %6u %-9s %-17s %-7s %10.1f %10.1f %10.1f", architecture, m_suite.c_str(),
             static_cast<unsigned>(kind.Count), kind.Name, phase, handlers[index].Name, first, median, third);
      printf(index == 0 ? "\n" : "   %5.2f\n", median / medians[0]);
    }
    fflush(stdout);
  }

 private:
  std::string m_suite;
  std::ofstream m_lines;
};

bool measure_Warm(const Kind& kind, Results& results) {
  const auto paths = make_Paths(kind);
  const auto selection = host::create_DropListObject(paths);
  const std::size_t rounds = std::clamp<std::size_t>(100000 / (kind.Count + 100), 60, 600);
  constexpr std::size_t warm_up = 5;
  std::array<std::array<std::vector<double>, handlers.size()>, phase_names.size()> samples;
  for (std::size_t round = 0; round < rounds + warm_up; ++round) {
    for (std::size_t turn = 0; turn < handlers.size(); ++turn) {
      const auto index = (round + turn) % handlers.size();
      const auto times = right_Click(handlers[index].Class, selection.Get());
      if (!times)
        return false;
      for (std::size_t phase = 0; round >= warm_up && phase < times->size(); ++phase)
        samples[phase][index].push_back((*times)[phase]);
    }
  }
  for (std::size_t phase = 0; phase < phase_names.size(); ++phase)
    results.add(kind, phase_names[phase], samples[phase]);
  return true;
}

// Runs this program in a new process for one right-click, and returns its microseconds.
double measure_Cold(const char* way, const char* handler) {
  std::array<char, MAX_PATH> own_path;
  GetModuleFileNameA(nullptr, own_path.data(), MAX_PATH);
  auto command_line = std::string("bench ") + way + " " + handler;
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(own_path.data(), command_line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &process))
    return 0;
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD microseconds = 0;
  GetExitCodeProcess(process.hProcess, &microseconds);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return microseconds;
}

void measure_ColdProcesses(const char* way, const char* phase, Results& results) {
  constexpr std::size_t rounds = 30;
  std::array<std::vector<double>, handlers.size()> samples;
  for (std::size_t round = 0; round < rounds; ++round)
    for (std::size_t turn = 0; turn < handlers.size(); ++turn) {
      const auto index = (round + turn) % handlers.size();
      samples[index].push_back(measure_Cold(way, handlers[index].Name));
    }
  results.add(kinds.front(), phase, samples);
}

// Loads the DLL and gets its class factory, as COM does before the first object.
int run_Load(std::string_view name) {
  const auto handler = std::ranges::find(handlers, name, &Handler::Name);
  Microsoft::WRL::ComPtr<IClassFactory> factory;
  Stopwatch watch;
  CoGetClassObject(handler->Class, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory));
  return static_cast<int>(watch.lap());
}

int run_Cold(std::string_view name) {
  const auto selection = host::create_DropListObject(make_Paths(kinds.front()));
  const auto handler = std::ranges::find(handlers, name, &Handler::Name);
  const auto times = right_Click(handler->Class, selection.Get());
  return times ? static_cast<int>((*times)[static_cast<std::size_t>(Phase::Total)]) : 0;
}

// Right-clicks in so many windows at once, each on a thread and in an apartment of its own, and returns the
// median of all.
double measure_Windows(const Handler& handler, std::size_t windows) {
  constexpr std::size_t rounds = 400, warm_up = 20;
  const auto paths = make_Paths(kinds.front());
  std::vector<std::vector<double>> samples(windows);
  std::deque<Thread> threads;
  for (auto& sample : samples)
    threads.emplace_back([&] {
      OleInitialize(nullptr);
      {
        const auto selection = host::create_DropListObject(paths);
        for (std::size_t round = 0; round < rounds + warm_up; ++round)
          if (const auto times = right_Click(handler.Class, selection.Get()); times && round >= warm_up)
            sample.push_back((*times)[static_cast<std::size_t>(Phase::Total)]);
      }
      OleUninitialize();
    });
  threads.clear();
  std::vector<double> all;
  for (const auto& sample : samples)
    all.insert(all.end(), sample.begin(), sample.end());
  return quartiles_Of(std::move(all))[1];
}

int run_Windows(const char* suite) {
  const std::size_t many = std::max(2ul, GetActiveProcessorCount(ALL_PROCESSOR_GROUPS));
  for (const auto& handler : handlers) {
    // One window alone is timed before and after, so that a machine that gets slower is not taken for what
    // the windows cost.
    const double before = measure_Windows(handler, 1);
    const double together = measure_Windows(handler, many);
    const double alone = (before + measure_Windows(handler, 1)) / 2;
    printf("%-6s %-10s %-7s one window %7.1f us, %u at once %7.1f us each   %5.2f\n", architecture, suite,
           handler.Name, alone, static_cast<unsigned>(many), together, together / alone);
  }
  return 0;
}

// A verb of the DLL that is registered for the classic menu, which alone is registered.
Microsoft::WRL::ComPtr<IExplorerCommand> create_Verb() {
  Microsoft::WRL::ComPtr<IClassFactory> classic, factory;
  Microsoft::WRL::ComPtr<IExplorerCommand> verb;
  CoGetClassObject(clsid_ShellExt, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&classic));
  const auto entry = reinterpret_cast<LPFNGETCLASSOBJECT>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"NorvakContextMenu.dll"), "DllGetClassObject")));
  if (entry != nullptr && SUCCEEDED(entry(clsid_ExplorerCommand, IID_PPV_ARGS(&factory))))
    factory->CreateInstance(nullptr, IID_PPV_ARGS(&verb));
  return verb;
}

Microsoft::WRL::ComPtr<IShellItemArray> make_Items(const std::vector<std::wstring>& paths) {
  std::vector<PIDLIST_ABSOLUTE> lists;
  for (const auto& path : paths)
    if (PIDLIST_ABSOLUTE list = nullptr;
        SUCCEEDED(SHParseDisplayName(path.c_str(), nullptr, &list, 0, nullptr)))
      lists.push_back(list);
  Microsoft::WRL::ComPtr<IShellItemArray> items;
  SHCreateShellItemArrayFromIDLists(static_cast<UINT>(lists.size()),
                                    const_cast<PCIDLIST_ABSOLUTE*>(lists.data()), &items);
  std::ranges::for_each(lists, CoTaskMemFree);
  return items;
}

// The microseconds of a verb's answers: for the classic menu, for the first one, its children, its end.
std::optional<std::array<double, 4>> ask_Verb(IShellItemArray* items) {
  auto verb = create_Verb();
  if (!verb)
    return {};
  std::array<double, 4> times;
  EXPCMDSTATE state = ECS_ENABLED;
  Stopwatch watch;
  verb->GetState(items, FALSE, &state);
  times[0] = watch.lap();
  verb->GetState(items, TRUE, &state);
  times[1] = watch.lap();
  Microsoft::WRL::ComPtr<IEnumExplorerCommand> children;
  verb->EnumSubCommands(&children);
  for (Microsoft::WRL::ComPtr<IExplorerCommand> child;
       children && children->Next(1, child.ReleaseAndGetAddressOf(), nullptr) == S_OK;) {
    wchar_t* title = nullptr;
    child->GetTitle(items, &title);
    CoTaskMemFree(title);
  }
  times[2] = watch.lap();
  children.Reset();
  verb.Reset();
  times[3] = watch.lap();
  return times;
}

// Prints the medians, each with its share of a whole right-click of the classic menu in the same rounds.
int run_FirstMenu(const char* suite) {
  constexpr std::size_t rounds = 300, warm_up = 5;
  constexpr std::array names{"state for the classic menu", "state", "children", "end"};
  for (const auto& kind : {kinds[0], kinds[2]}) {
    const auto paths = make_Paths(kind);
    const auto selection = host::create_DropListObject(paths);
    const auto items = make_Items(paths);
    std::vector<double> classic;
    std::array<std::vector<double>, names.size()> samples;
    for (std::size_t round = 0; round < rounds + warm_up; ++round) {
      const auto click = right_Click(clsid_ShellExt, selection.Get());
      const auto times = ask_Verb(items.Get());
      if (!click || !times)
        return 1;
      if (round < warm_up)
        continue;
      classic.push_back((*click)[static_cast<std::size_t>(Phase::Total)]);
      for (std::size_t step = 0; step < names.size(); ++step)
        samples[step].push_back((*times)[step]);
    }
    const double whole = quartiles_Of(std::move(classic))[1];
    for (std::size_t step = 0; step < names.size(); ++step) {
      const double median = quartiles_Of(std::move(samples[step]))[1];
      printf("%-6s %-10s first menu, %3u files, %-26s %7.1f us, of a classic right-click %6.3f\n",
             architecture, suite, static_cast<unsigned>(kind.Count), names[step], median, median / whole);
    }
  }
  return 0;
}

// The floor handler's DLL is in the folder of this program.
void register_Floor() {
  std::array<wchar_t, MAX_PATH> path;
  GetModuleFileNameW(nullptr, path.data(), MAX_PATH);
  const auto dll = std::filesystem::path(path.data()).replace_filename("floor_handler.dll").wstring();
  std::array<wchar_t, 40> clsid;
  StringFromGUID2(clsid_Floor, clsid.data(), clsid.size());
  const auto key = std::wstring(LR"(CLSID\)") + clsid.data() + LR"(\InprocServer32)";
  RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, REG_SZ, dll.c_str(),
                  static_cast<DWORD>((dll.size() + 1) * sizeof(wchar_t)));
  constexpr wchar_t model[] = L"Apartment";
  RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), L"ThreadingModel", REG_SZ, model, sizeof model);
}

}  // namespace

int main(int count, char** arguments) {
  OleInitialize(nullptr);
  LoadLibraryW(L"oleaut32.dll");  // Explorer has loaded it already, like all that this program imports
  if (count != 3)
    return 2;
  if (std::strcmp(arguments[1], "--load") == 0)
    return run_Load(arguments[2]);
  if (std::strcmp(arguments[1], "--cold") == 0)
    return run_Cold(arguments[2]);
  register_Floor();
  if (std::strcmp(arguments[1], "--windows") == 0)
    return run_Windows(arguments[2]);
  if (std::strcmp(arguments[1], "--first-menu") == 0)
    return run_FirstMenu(arguments[2]);
  Results results(arguments[1], arguments[2]);
  for (const auto& kind : kinds)
    if (!measure_Warm(kind, results)) {
      fprintf(stderr, "bench: a handler is not registered\n");
      return 1;
    }
  measure_ColdProcesses("--load", "cold load", results);
  measure_ColdProcesses("--cold", "cold process", results);
  return 0;
}
