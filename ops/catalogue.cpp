#include "ops/catalogue.h"

namespace lumomixcalc {

std::int32_t UsesFile1(std::int32_t op) {
  static constexpr std::array uses = CatalogueColumn(&Operator::usesFile1);
  return uses[static_cast<std::size_t>(op)];
}

std::int32_t UsesFile2(std::int32_t op) {
  static constexpr std::array uses = CatalogueColumn(&Operator::usesFile2);
  return uses[static_cast<std::size_t>(op)];
}

}  // namespace lumomixcalc
