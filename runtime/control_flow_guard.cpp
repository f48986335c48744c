// By this the system learns where the calls through pointers of a program or DLL may go. It puts its own
// check in the place of ours; a Windows without one calls ours, which lets every call pass.
#include <windows.h>

#include <cstddef>

// The names are the compiler's and the linker's.
extern "C" {

void check_NoCall();
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): the system sets it.
__attribute__((section(".00cfg"))) extern void (*const __guard_check_icall_fptr)();

// Tables, and numbers in the form of addresses.
extern char __guard_fids_table[], __guard_fids_count[], __guard_flags[], __guard_iat_table[],
    __guard_iat_count[], __guard_longjmp_table[], __guard_longjmp_count[];

// The caller keeps its arguments in registers meanwhile.
__attribute__((naked)) void check_NoCall() {
  asm("ret");
}

void (*const __guard_check_icall_fptr)() = check_NoCall;

// On x86_64 the compiler has the call itself made there, by the address in rax.
#ifdef __x86_64__
void pass_Call();
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): the system sets it.
__attribute__((section(".00cfg"))) extern void (*const __guard_dispatch_icall_fptr)();

__attribute__((naked)) void pass_Call() {
  asm("jmp *%rax");
}

void (*const __guard_dispatch_icall_fptr)() = pass_Call;
constexpr auto dispatch_place = &__guard_dispatch_icall_fptr;
#else
constexpr const void* dispatch_place = nullptr;
#endif

// The system's "load configuration" of a file, as far as the tables of the guard go.
constexpr bool is_32Bit = sizeof(void*) == 4;
struct LoadConfiguration {
  DWORD Size;
  DWORD Unused[is_32Bit ? 14 : 21];
  const void* SecurityCookie;
  const void* Handlers[2];  // of 32-bit files alone
  const void* CheckCall;
  const void* DispatchCall;
  const char* Functions;
  const char* FunctionCount;
  const char* Flags;  // 32 bits; the rest, and what follows, is about signed code
  DWORD MoreAboutCode[is_32Bit ? 3 : 2];
  const char* Imports;
  const char* ImportCount;
  const char* Jumps;
  const char* JumpCount;
};
static_assert(offsetof(LoadConfiguration, CheckCall) == (is_32Bit ? 72 : 112) &&
              sizeof(LoadConfiguration) == (is_32Bit ? 120 : 192));

extern const LoadConfiguration _load_config_used;
const LoadConfiguration _load_config_used = {sizeof(LoadConfiguration),
                                             {},
                                             nullptr,
                                             {},
                                             &__guard_check_icall_fptr,
                                             dispatch_place,
                                             __guard_fids_table,
                                             __guard_fids_count,
                                             __guard_flags,
                                             {},
                                             __guard_iat_table,
                                             __guard_iat_count,
                                             __guard_longjmp_table,
                                             __guard_longjmp_count};

}  // extern "C"
