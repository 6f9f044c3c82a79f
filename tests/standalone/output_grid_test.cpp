#include "standalone/rasters/output_grid.h"

#include <gtest/gtest.h>

#include <limits>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

constexpr Geotransform kTransform = {1000, 10, 0, 5000, 0, -10};

Selection OfRegion(const PixelWindow& region, int resolution = 1) {
  Selection selection;
  selection.region = region;
  selection.resolution = resolution;
  return selection;
}

Selection OfWindow(const MapWindow& window) {
  Selection selection;
  selection.window = window;
  return selection;
}

OutputGrid Grid(const Selection& selection) {
  return MakeOutputGrid(selection, 700, 500, &kTransform, "image");
}

TEST(MakeOutputGrid, TakesTheWholeImageWithoutAChoice) {
  const OutputGrid grid = Grid({});
  EXPECT_EQ(ToText(grid.window), "0:0:700:500");
  EXPECT_EQ(grid.columns, 700);
  EXPECT_EQ(grid.rows, 500);
  EXPECT_EQ(grid.Transformed(kTransform), kTransform);
}

TEST(MakeOutputGrid, LeavesOutWhatMakesNoWholePixel) {
  const OutputGrid grid = Grid(OfRegion({5, 7, 303, 201}, 4));
  EXPECT_EQ(ToText(grid.window), "5:7:300:200");
  EXPECT_EQ(grid.columns, 75);
  EXPECT_EQ(grid.rows, 50);
  EXPECT_EQ(grid.Transformed(kTransform), (Geotransform{1050, 40, 0, 4930, 0, -40}));
}

TEST(MakeOutputGrid, MovesARotatedGeotransformAlongItsOwnAxes) {
  const Geotransform rotated = {100, 3, 4, 200, 4, -3};
  EXPECT_EQ(Grid(OfRegion({10, 20, 100, 100}, 2)).Transformed(rotated),
            (Geotransform{210, 6, 8, 180, 8, -6}));
}

TEST(MakeOutputGrid, AcceptsRegionsUpToTheEdgeAndNoFurther) {
  EXPECT_EQ(ToText(Grid(OfRegion({699, 499, 1, 1})).window), "699:499:1:1");
  constexpr int kMax = std::numeric_limits<int>::max();
  for (const PixelWindow& outside : {PixelWindow{0, 0, 701, 500},
                                     {1, 0, 700, 500},
                                     {0, 499, 700, 2},
                                     {-1, 0, 5, 5},
                                     {0, -1, 5, 5},
                                     {kMax, 0, kMax, 1},
                                     {0, 0, 0, 5}})
    EXPECT_THROW(Grid(OfRegion(outside)), Failure) << ToText(outside);
}

TEST(MakeOutputGrid, RefusalTellsTheSizeOfTheImage) {
  try {
    Grid(OfRegion({0, 0, 701, 1}));
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_STREQ(failure.what(),
                 "-region=0:0:701:1 is not inside image, which has 700 x 500 pixels");
  }
}

TEST(MakeOutputGrid, WindowTakesThePixelsThatItTouches) {
  EXPECT_EQ(ToText(Grid(OfWindow({1000, 0, 8000, 5000})).window), "0:0:700:500");
  EXPECT_EQ(ToText(Grid(OfWindow({1015, 4975, 1025, 4985})).window), "1:1:2:2");
  // Decimals that no double holds exactly shall not add a pixel.
  const Geotransform tenths = {0, 0.1, 0, 0, 0, 0.1};
  EXPECT_EQ(ToText(MakeOutputGrid(OfWindow({0.3, 0.6, 0.7, 0.9}), 10, 10, &tenths, "i").window),
            "3:6:4:3");
}

TEST(MakeOutputGrid, WindowNeedsAMapWithoutRotationAndAPlaceInside) {
  EXPECT_THROW(MakeOutputGrid(OfWindow({0, 0, 1, 1}), 10, 10, nullptr, "i"), Failure);
  const Geotransform rotated = {100, 3, 4, 200, 4, -3};
  EXPECT_THROW(MakeOutputGrid(OfWindow({100, 190, 110, 200}), 10, 10, &rotated, "i"), Failure);
  EXPECT_THROW(Grid(OfWindow({990, 4000, 2000, 4500})), Failure);
  EXPECT_THROW(Grid(OfWindow({1e300, 0, 2e300, 1})), Failure);
}

TEST(MakeOutputGrid, ReducesUntilTheLongestSideFits) {
  Selection selection;
  selection.longestSide = 100;
  EXPECT_EQ(Grid(selection).columns, 100);
  selection.longestSide = 699;
  EXPECT_EQ(Grid(selection).columns, 350);
  selection.longestSide = 700;
  EXPECT_EQ(Grid(selection).columns, 700);
  selection.longestSide = 10;
  EXPECT_EQ(MakeOutputGrid(selection, 10000, 1, nullptr, "line").rows, 1);
}

TEST(MakeOutputGrid, RefusesAResolutionThatLeavesNothing) {
  EXPECT_EQ(Grid(OfRegion({0, 0, 30, 20}, 20)).columns, 1);
  EXPECT_THROW(Grid(OfRegion({0, 0, 30, 20}, 21)), Failure);
}

}  // namespace
}  // namespace lumomixcalc::standalone
