#include "standalone/rasters/grid.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {
namespace {

bool Contains(int columns, int rows, const PixelWindow& window) {
  return window.x >= 0 && window.y >= 0 && window.columns > 0 && window.rows > 0 &&
         std::int64_t{window.x} + window.columns <= columns &&
         std::int64_t{window.y} + window.rows <= rows;
}

// Map coordinates are seldom exact: a place within a thousandth of a pixel of a pixel's edge is
// taken to be on it.
double SnappedToEdge(double pixel) {
  constexpr double kTolerance = 1e-3;
  const double nearest = std::round(pixel);
  return std::abs(pixel - nearest) < kTolerance ? nearest : pixel;
}

// The pixels that the map window touches.
PixelWindow PixelsOf(const MapWindow& window, const Geotransform& transform, int columns, int rows,
                     const std::string& name) {
  const std::string option = "-window=" + ToText(window);
  if (transform[2] != 0 || transform[4] != 0)
    throw Failure(option + ": the image " + name +
                  " is rotated on the map; choose pixels by -region=");
  const double x1 = (window.xMin - transform[0]) / transform[1];
  const double x2 = (window.xMax - transform[0]) / transform[1];
  const double y1 = (window.yMin - transform[3]) / transform[5];
  const double y2 = (window.yMax - transform[3]) / transform[5];
  const double left = std::floor(SnappedToEdge(std::min(x1, x2)));
  const double right = std::ceil(SnappedToEdge(std::max(x1, x2)));
  const double top = std::floor(SnappedToEdge(std::min(y1, y2)));
  const double bottom = std::ceil(SnappedToEdge(std::max(y1, y2)));
  // Written so that a NaN is refused, too.
  if (!(left >= 0 && top >= 0 && right <= columns && bottom <= rows && left < right &&
        top < bottom)) {
    const double xEnd = transform[0] + columns * transform[1];
    const double yEnd = transform[3] + rows * transform[5];
    const MapWindow whole = {std::min(transform[0], xEnd), std::min(transform[3], yEnd),
                             std::max(transform[0], xEnd), std::max(transform[3], yEnd)};
    throw Failure(option + " is not inside " + name + ", which has " + SizeText(columns, rows) +
                  " and covers " + ToText(whole));
  }
  return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
          static_cast<int>(bottom - top)};
}

PixelWindow ChosenPixels(const Selection& selection, int columns, int rows,
                         const Geotransform* transform, const std::string& name) {
  if (selection.region) {
    if (Contains(columns, rows, *selection.region)) return *selection.region;
    throw Failure("-region=" + ToText(*selection.region) + " is not inside " + name +
                  ", which has " + SizeText(columns, rows));
  }
  if (selection.window) {
    if (transform) return PixelsOf(*selection.window, *transform, columns, rows, name);
    throw Failure("-window=" + ToText(*selection.window) + ": " + name +
                  " has no geotransform; choose pixels by -region=");
  }
  return {0, 0, columns, rows};
}

}  // namespace

std::string SizeText(int columns, int rows) {
  return std::to_string(columns) + " x " + std::to_string(rows) + " pixels";
}

std::string ToText(const PixelWindow& window) {
  return std::to_string(window.x) + ":" + std::to_string(window.y) + ":" +
         std::to_string(window.columns) + ":" + std::to_string(window.rows);
}

std::string ToText(const MapWindow& window) {
  return ShortestText(window.xMin) + ":" + ShortestText(window.yMin) + ":" +
         ShortestText(window.xMax) + ":" + ShortestText(window.yMax);
}

Geotransform OutputGrid::Transformed(const Geotransform& input) const {
  const double x = window.x;
  const double y = window.y;
  const double n = resolution;
  return {input[0] + x * input[1] + y * input[2], n * input[1], n * input[2],
          input[3] + x * input[4] + y * input[5], n * input[4], n * input[5]};
}

OutputGrid MakeOutputGrid(const Selection& selection, int columns, int rows,
                          const Geotransform* transform, const std::string& name) {
  OutputGrid grid;
  grid.window = ChosenPixels(selection, columns, rows, transform, name);
  grid.resolution = selection.resolution;
  if (selection.longestSide > 0) {
    const int side = std::max(grid.window.columns, grid.window.rows);
    const int needed = (side - 1) / selection.longestSide + 1;
    // At least one row of a long thin image remains.
    grid.resolution =
        std::max(grid.resolution, std::min({needed, grid.window.columns, grid.window.rows}));
  }
  if (grid.resolution > std::min(grid.window.columns, grid.window.rows))
    throw Failure("-resolution=" + std::to_string(grid.resolution) + " leaves no pixel of the " +
                  SizeText(grid.window.columns, grid.window.rows) + " of " + name);
  grid.columns = grid.window.columns / grid.resolution;
  grid.rows = grid.window.rows / grid.resolution;
  grid.window.columns = grid.columns * grid.resolution;
  grid.window.rows = grid.rows * grid.resolution;
  return grid;
}

}  // namespace lumomixcalc::standalone
