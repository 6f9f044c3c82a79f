// One binary for every x86-64: a function marked LUMOMIXCALC_PER_PROCESSOR is compiled three times,
// for AVX-512, for AVX2 and for the baseline, and the loader binds the calls to the widest that the
// processor has. The bits are the same on all, since no build contracts or reorders arithmetic.
//
// In other cases the mark is empty and there is one plain version: on other processors, with
// compilers whose function multiversioning does not know these targets, with sanitizers (which are
// not yet initialised when the loader chooses), and in builds with LUMOMIXCALC_SINGLE_VERSION.
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
