// The operator catalogue: all that differs between the operators outside their arithmetic.
//
// One row per operator. The position of a row is the operator index, which is shared by the panel's
// pull-down, the command names, the questions which files are used, and the kernel selection. To
// add an operator, add a row.
#ifndef LUMOMIXCALC_OPS_CATALOGUE_H
#define LUMOMIXCALC_OPS_CATALOGUE_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "ops/selectors.h"

namespace lumomixcalc {

struct Operator {
  const char* label;        // in the panel
  const char* commandName;  // on the command line; matched whole, byte for byte
  std::int32_t usesFile1;   // 1 or 0
  std::int32_t usesFile2;
  SelectorFn selector;
};

// clang-format off
inline constexpr std::array kOperators = {
    Operator{"(A*File1) + (B*File2)",     "a1+b2",      1, 1, SelectProc_AF1_Plus_BF2},
    Operator{"(A*File1) - (B*File2)",     "a1-b2",      1, 1, SelectProc_AF1_Minus_BF2},
    Operator{"(A*File1) * (B*File2)",     "a1b2",       1, 1, SelectProc_AF1_Times_BF2},
    Operator{"(A*File1) / (B*File2)",     "a1/b2",      1, 1, SelectProc_AF1_DividedBy_BF2},
    Operator{"(A*File1) * CONJ(B*File2)", "a1_conj_b2", 1, 1, SelectProc_AF1_Times_Conj_BF2},
    Operator{"ABS(A*File1)",              "abs_a1",     1, 0, SelectProc_Abs_AF1},
    Operator{"CONJ(A*File1)",             "conj_a1",    1, 0, SelectProc_Conj_AF1},
    Operator{"A*PHASE(FILE1)",            "a_phase_1",  1, 0, SelectProc_A_Phase_F1},
    Operator{"(A*File1) + B",             "a1+b",       1, 0, SelectProc_AF1_Plus_B},
    Operator{"(A*File1) * B",             "a1b",        1, 0, SelectProc_AF1_Times_B},
    Operator{"A / (B*File2)",             "a/b2",       0, 1, SelectProc_A_DividedBy_BF2},
    Operator{"A * LN(FILE1 + B)",         "a_ln_1+b",   1, 0, SelectProc_A_Ln_F1_Plus_B},
    Operator{"(FILE1 + B)**A",            "1+b_pow_a",  1, 0, SelectProc_F1_Plus_B_Pow_A},
};
// clang-format on

inline constexpr std::size_t kOperatorCount = kOperators.size();

// One column of the catalogue, as an array in index order.
template <class Field>
constexpr std::array<Field, kOperatorCount> CatalogueColumn(Field Operator::*field) {
  std::array<Field, kOperatorCount> column{};
  for (std::size_t i = 0; i < kOperatorCount; ++i) column[i] = kOperators[i].*field;
  return column;
}

// The panel labels and the command names, in index order.
inline constexpr std::array gOperationNames = CatalogueColumn(&Operator::label);
inline constexpr std::array gOperationCmdlineNames = CatalogueColumn(&Operator::commandName);

// Whether the operator reads File1 or File2: 1 or 0. The index is not checked.
std::int32_t UsesFile1(std::int32_t op);
std::int32_t UsesFile2(std::int32_t op);

}  // namespace lumomixcalc

#endif
