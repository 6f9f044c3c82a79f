// One binary for every x86-64: a function marked LUMOMIXCALC_PER_PROCESSOR is compiled three times,
// for AVX-512, for AVX2 and for the baseline, and the loader binds the calls to the widest that the
// processor has. The bits are the same on all, since no build contracts or reorders arithmetic.
//
// Elsewhere the mark is empty and one plain build serves: other processors, compilers whose
// function multiversioning does not take these targets, sanitizers, which are not initialised yet
// when the loader chooses, and builds that ask for it (LUMOMIXCALC_SINGLE_VERSION).
#ifndef LUMOMIXCALC_KERNELS_MULTIVERSIONING_H
#define LUMOMIXCALC_KERNELS_MULTIVERSIONING_H

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && \
    !defined(LUMOMIXCALC_SINGLE_VERSION)
#define LUMOMIXCALC_PER_PROCESSOR \
  __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define LUMOMIXCALC_PER_PROCESSOR
#endif

#endif
