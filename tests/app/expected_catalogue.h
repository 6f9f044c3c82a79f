// The thirteen operators as their users know them, spelled out apart from the catalogue itself.
#ifndef LUMOMIXCALC_TESTS_APP_EXPECTED_CATALOGUE_H
#define LUMOMIXCALC_TESTS_APP_EXPECTED_CATALOGUE_H

namespace lumomixcalc {

struct ExpectedOperator {
  const char* label;
  const char* commandName;
  bool readsFile1;
  bool readsFile2;
};

inline constexpr ExpectedOperator kExpectedOperators[13] = {
    {"(A*File1) + (B*File2)", "a1+b2", true, true},
    {"(A*File1) - (B*File2)", "a1-b2", true, true},
    {"(A*File1) * (B*File2)", "a1b2", true, true},
    {"(A*File1) / (B*File2)", "a1/b2", true, true},
    {"(A*File1) * CONJ(B*File2)", "a1_conj_b2", true, true},
    {"ABS(A*File1)", "abs_a1", true, false},
    {"CONJ(A*File1)", "conj_a1", true, false},
    {"A*PHASE(FILE1)", "a_phase_1", true, false},
    {"(A*File1) + B", "a1+b", true, false},
    {"(A*File1) * B", "a1b", true, false},
    {"A / (B*File2)", "a/b2", false, true},
    {"A * LN(FILE1 + B)", "a_ln_1+b", true, false},
    {"(FILE1 + B)**A", "1+b_pow_a", true, false},
};

}  // namespace lumomixcalc

#endif
