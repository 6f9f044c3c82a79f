#include "standalone/rasters/grid.h"

#include <gtest/gtest.h>

#include <utility>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

constexpr Geotransform kRotated = {100, 3, 4, 200, 4, -3};

TEST(MakeOutputGrid, MovesARotatedGeotransformAlongItsOwnAxes) {
  Selection selection;
  selection.region = {10, 20, 100, 100};
  selection.resolution = 2;
  EXPECT_EQ(MakeOutputGrid(selection, 700, 500, &kRotated, "i").Transformed(kRotated),
            (Geotransform{210, 6, 8, 180, 8, -6}));
}

// Decimals that no double holds exactly shall not add a pixel.
TEST(MakeOutputGrid, WindowOnThePixelsEdgesTakesNoMoreOfThem) {
  const Geotransform tenths = {0, 0.1, 0, 0, 0, 0.1};
  Selection selection;
  selection.window = {0.3, 0.6, 0.7, 0.9};
  EXPECT_EQ(ToText(MakeOutputGrid(selection, 10, 10, &tenths, "i").window), "3:6:4:3");
}

TEST(MakeOutputGrid, WindowNeedsAMapWithoutRotationAndAPlaceInside) {
  const Geotransform map = {0, 10, 0, 0, 0, -10};
  Selection selection;
  selection.window = {100, 190, 110, 200};
  EXPECT_THROW(MakeOutputGrid(selection, 10, 10, nullptr, "i"), Failure);
  EXPECT_THROW(MakeOutputGrid(selection, 10, 10, &kRotated, "i"), Failure);
  selection.window = {1e300, 0, 2e300, 1};
  EXPECT_THROW(MakeOutputGrid(selection, 10, 10, &map, "i"), Failure);
}

TEST(MakeOutputGrid, ReducesUntilTheLongestSideFits) {
  Selection selection;
  for (const auto& [longest, columns] : {std::pair{100, 100}, {699, 350}, {700, 700}}) {
    selection.longestSide = longest;
    EXPECT_EQ(MakeOutputGrid(selection, 700, 500, nullptr, "i").columns, columns);
  }
  selection.longestSide = 10;
  EXPECT_EQ(MakeOutputGrid(selection, 10000, 1, nullptr, "line").rows, 1);
}

}  // namespace
}  // namespace lumomixcalc::standalone
