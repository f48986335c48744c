// Runs one fuzz target: first the inputs that its corpus holds, then mutations of them. A seed and an index
// name an input, so every failure can be repeated.
#include <windows.h>

#include <process.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>

#include "fuzz/target.h"

namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t longest_input = 16384;
constexpr const wchar_t* failed_input = L"fuzz-failed";

struct {
  const Target* Running = nullptr;
  std::string Origin;  // the file, or the seed and the index
  std::string Again;   // repeats it after all inputs before it, since the process keeps their traces
  Bytes Input;
  std::atomic<ULONGLONG> Since = 0;
} state;

void write_File(const fs::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
}

Bytes read_File(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Ends the process at once, as its state cannot be trusted.
[[noreturn]] void fail(const char* what) {
  std::printf("%s: %s\n  input: %s, %u bytes, in fuzz-failed\n  again: scripts/fuzz --target %s %s\n",
              state.Running->Name, what, state.Origin.c_str(), static_cast<unsigned>(state.Input.size()),
              state.Running->Name, state.Again.c_str());
  std::fflush(stdout);
  write_File(failed_input, state.Input);
  TerminateProcess(GetCurrentProcess(), 1);
  std::abort();
}

LONG CALLBACK fail_ByException(EXCEPTION_POINTERS* pointers) {
  char text[64];
  std::snprintf(text, sizeof text, "exception %08lx at %p", pointers->ExceptionRecord->ExceptionCode,
                pointers->ExceptionRecord->ExceptionAddress);
  fail(text);
}

DWORD WINAPI watch(void*) {
  constexpr ULONGLONG longest_run = 20000;
  for (;; Sleep(1000))
    if (GetTickCount64() - state.Since > longest_run)
      fail("takes more than twenty seconds");
}

// Makes one change of many kinds. Ranges end with the input at the latest.
void change(Bytes& bytes, const Target& target, const std::vector<Bytes>& seeds, std::mt19937& random) {
  const auto below = [&random](std::size_t limit) { return limit == 0 ? 0 : random() % limit; };
  const auto at = below(bytes.size() + 1);
  const auto length = std::min<std::size_t>(1 + below(below(8) == 0 ? 4096 : 16), bytes.size() - at);
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  const auto last = first + static_cast<std::ptrdiff_t>(length);
  switch (random() % 5) {
    case 0: {
      const bool flips = below(2) == 0;
      std::for_each(first, last, [&](auto& byte) {
        byte ^= static_cast<std::uint8_t>(flips ? 1U << below(8) : random());
      });
      break;
    }
    case 1:
      bytes.erase(first, below(8) == 0 ? bytes.end() : last);
      break;
    case 2: {
      const auto part = below(2) == 0 ? Bytes(first, last) : seeds[below(seeds.size())];
      bytes.insert(first, part.begin(), part.end());
      break;
    }
    case 3: {
      const auto edge = static_cast<std::uint32_t>((1ULL << below(33)) - below(3));
      std::copy_n(reinterpret_cast<const std::uint8_t*>(&edge), std::min(sizeof edge, bytes.size() - at),
                  first);
      break;
    }
    default: {
      const auto word = target.Words.empty() ? "\xFF" : target.Words[below(target.Words.size())];
      for (auto count = below(32) == 0 ? below(2000) : 1; count-- > 0;)
        bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), word.begin(), word.end());
    }
  }
}

Bytes make_Input(const Target& target, const std::vector<Bytes>& seeds, unsigned seed, unsigned index) {
  constexpr unsigned spread = 0x9E3779B9;  // consecutive seeds share no input
  std::mt19937 random(seed * spread + index);
  auto bytes = seeds[random() % seeds.size()];
  for (auto changes = 1 + random() % 8; changes-- > 0;)
    change(bytes, target, seeds, random);
  bytes.resize(std::min(bytes.size(), longest_input));
  return bytes;
}

void run_Fresh(const Target& target) {
  write_File(failed_input, state.Input);
  require(_wspawnl(_P_WAIT, _wpgmptr, L"fuzz", L"--target", fs::path(target.Name).c_str(), L"--input",
                   failed_input, nullptr) == 0,
          "a process of its own survives it");
}

void run(const Target& target, const std::string& origin, const std::string& again, Bytes bytes) {
  state.Origin = origin;
  state.Again = again;
  state.Input = std::move(bytes);
  state.Since = GetTickCount64();
  if (target.IsFresh && !origin.starts_with("--input fuzz-failed"))
    run_Fresh(target);
  else
    target.Run(Input(state.Input));
}

void run_All(const Target& target, unsigned seed, unsigned inputs, ULONGLONG milliseconds, int only) {
  const auto start = GetTickCount64();
  const auto origin = "--seed " + std::to_string(seed);
  const auto up_To = [&](unsigned end) { return origin + " --inputs " + std::to_string(end); };
  std::vector<Bytes> seeds{{}};
  const auto folder = fs::path(SOURCE_FOLDER "/fuzz/corpus") / target.Name;
  std::error_code missing;
  std::vector<fs::path> files;
  for (const auto& file : fs::directory_iterator(folder, missing))
    files.push_back(file.path());
  std::ranges::sort(files);
  for (const auto& file : files) {
    seeds.push_back(read_File(file));
    if (only < 0)
      run(target, "--input " + file.generic_string(), up_To(1), seeds.back());
  }
  unsigned index = only < 0 ? 0 : static_cast<unsigned>(only);
  const auto end = only < 0 ? inputs : index + 1;
  for (; index < end && GetTickCount64() - start < milliseconds; ++index) {
    const auto alone = origin + " --index " + std::to_string(index);
    run(target, alone, only < 0 ? up_To(index + 1) : alone, make_Input(target, seeds, seed, index));
  }
  std::printf("%s: %u kept, %u of %u inputs of seed %u in %.1f s\n", target.Name,
              static_cast<unsigned>(files.size()), index, end, seed,
              static_cast<double>(GetTickCount64() - start) / 1000);
}

}  // namespace

void require(bool condition, const char* what) {
  if (!condition)
    fail((std::string("does not hold: ") + what).c_str());
}

int main(int count, char** arguments) {
  const char* const seed = std::getenv("NORVAK_SEED");
  std::map<std::string, std::string> options{{"--target", ""},  {"--seed", seed != nullptr ? seed : "1"},
                                             {"--inputs", "0"}, {"--index", "-1"},
                                             {"--input", ""},   {"--seconds", "3600"}};
  for (int index = 1; index + 1 < count; index += 2)
    options[arguments[index]] = arguments[index + 1];
  const auto number = [&options](const char* name) {
    return static_cast<unsigned>(std::strtoul(options[name].c_str(), nullptr, 10));
  };
  auto targets = plain_Targets();
  for (const auto* more : {&selection_Targets(), &settings_Targets(), &component_Targets()})
    targets.insert(targets.end(), more->begin(), more->end());
  const auto target =
      std::ranges::find(targets, options["--target"], [](const auto& entry) { return entry.Name; });
  if (target == targets.end()) {
    for (const auto& entry : targets)
      std::printf("%s\n", entry.Name);
    return 2;
  }
  state.Running = &*target;
  state.Since = GetTickCount64();
  CloseHandle(CreateThread(nullptr, 0, watch, nullptr, 0, nullptr));
  SetUnhandledExceptionFilter(fail_ByException);
  std::signal(SIGABRT, [](int) { fail("abort"); });
  if (const auto& file = options["--input"]; !file.empty())
    run(*target, "--input " + file, "--input " + file, read_File(file));
  else
    run_All(*target, number("--seed"),
            number("--inputs") > 0 ? number("--inputs") : static_cast<unsigned>(target->Inputs),
            1000ULL * number("--seconds"), static_cast<int>(number("--index")));
  std::fflush(stdout);
  TerminateProcess(GetCurrentProcess(), 0);  // what the product keeps is never released
}
