// Runs the targets that need nothing of the platform with the compiler's own fuzzer; `--NAME` chooses one.
#include <cstdio>
#include <cstdlib>

#include "fuzz/target.h"

namespace {

const Target* chosen = nullptr;

}  // namespace

void require(bool condition, const char* what) {
  if (condition)
    return;
  std::fprintf(stderr, "%s: does not hold: %s\n", chosen->Name, what);
  std::abort();
}

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
  for (const auto& target : plain_Targets())
    for (int index = 1; index < *count; ++index)
      if ((*arguments)[index] == std::string("--") + target.Name)
        chosen = &target;
  return chosen == nullptr ? std::exit(2), 2 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  chosen->Run(Input({bytes, size}));
  return 0;
}
