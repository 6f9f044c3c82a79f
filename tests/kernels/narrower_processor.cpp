// Linked into a test program, makes the loader bind the kernels as on a narrower processor: at most
// for LUMOMIXCALC_WIDEST, a level of x86-64. The linker's --wrap leads the resolvers of function
// versions here instead of to libgcc's look at the processor; what libgcc found is then cut down.
#include <cassert>

extern "C" {
int __real___cpu_indicator_init();
extern unsigned __cpu_features2[];

// Called before the program is ready, so it may call nothing else.
int __wrap___cpu_indicator_init() {
  constexpr unsigned kBaselineBit = 95;  // of 128, the first 32 elsewhere; levels 2 to 4 follow
  const int result = __real___cpu_indicator_init();
  for (unsigned level = LUMOMIXCALC_WIDEST + 1; level <= 4; ++level) {
    const unsigned bit = kBaselineBit + level - 1 - 32;
    __cpu_features2[bit / 32] &= ~(1U << bit % 32);
  }
  return result;
}
}

// Called before main, and when the kernels have been bound.
[[gnu::constructor]] static void ExpectNothingBeyondTheLevel() {
  assert(!__builtin_cpu_supports("x86-64-v4"));
  assert(LUMOMIXCALC_WIDEST >= 3 || !__builtin_cpu_supports("x86-64-v3"));
}
