#include "standalone/rasters/grid.h"

#include <cpl_string.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/base/texts.h"

namespace lumomixcalc::standalone {
namespace {

bool Contains(int columns, int rows, const PixelWindow& window) {
  return window.x >= 0 && window.y >= 0 && window.columns > 0 && window.rows > 0 &&
         window.x <= columns - window.columns && window.y <= rows - window.rows;
}

// Map coordinates are rarely exact: a position within a thousandth of a pixel of an edge counts as
// on the edge.
double SnappedToEdge(double pixel) {
  constexpr double kTolerance = 1e-3;
  const double nearest = std::round(pixel);
  return std::abs(pixel - nearest) < kTolerance ? nearest : pixel;
}

// The first pixel that the range of map coordinates touches, and the pixel after the last one.
std::pair<double, double> Touched(double from, double to, double origin, double pixel) {
  const auto [low, high] = std::minmax({(from - origin) / pixel, (to - origin) / pixel});
  return {std::floor(SnappedToEdge(low)), std::ceil(SnappedToEdge(high))};
}

// The pixels that the map window touches.
PixelWindow PixelsOf(const MapWindow& window, const Geotransform& transform, int columns, int rows,
                     const std::string& name) {
  const std::string option = "-window=" + ToText(window);
  if (transform[2] != 0 || transform[4] != 0)
    throw Failure(option + ": the image " + name + " is rotated on the map; choose pixels by " +
                  SettingText("-region"));
  const auto [left, right] = Touched(window.xMin, window.xMax, transform[0], transform[1]);
  const auto [top, bottom] = Touched(window.yMin, window.yMax, transform[3], transform[5]);
  // This form of the condition refuses a NaN, too.
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
                         const std::optional<Geotransform>& transform, const std::string& name) {
  if (selection.region) {
    if (Contains(columns, rows, *selection.region)) return *selection.region;
    throw Failure(SettingText("-region", ToText(*selection.region)) + " is not inside " + name +
                  ", which has " + SizeText(columns, rows));
  }
  if (selection.window) {
    if (transform) return PixelsOf(*selection.window, *transform, columns, rows, name);
    throw Failure("-window=" + ToText(*selection.window) + ": " + name +
                  " has no geotransform; choose pixels by " + SettingText("-region"));
  }
  return {0, 0, columns, rows};
}

}  // namespace

std::string SizeText(int columns, int rows) { return CPLSPrintf("%d x %d pixels", columns, rows); }

std::string ToText(const PixelWindow& window) {
  return CPLSPrintf("%d:%d:%d:%d", window.x, window.y, window.columns, window.rows);
}

std::string ToText(const Looks& looks) { return CPLSPrintf("%d:%d", looks.x, looks.y); }

std::string ToText(const MapWindow& window) {
  return ShortestText(window.xMin) + ":" + ShortestText(window.yMin) + ":" +
         ShortestText(window.xMax) + ":" + ShortestText(window.yMax);
}

OutputGrid OutputGrid::BeforeLooks() const {
  return {window, resolution, {}, columns * looks.x, rows * looks.y};
}

OutputGrid MakeOutputGrid(const Selection& selection, int columns, int rows,
                          const std::optional<Geotransform>& transform, const std::string& name) {
  OutputGrid grid;
  grid.window = ChosenPixels(selection, columns, rows, transform, name);
  grid.resolution = selection.resolution;
  grid.looks = selection.looks;
  grid.columns = grid.window.columns / grid.resolution / grid.looks.x;
  grid.rows = grid.window.rows / grid.resolution / grid.looks.y;
  if (grid.columns == 0 || grid.rows == 0) {
    std::vector<std::string> causes;
    if (grid.resolution > 1)
      causes.push_back(SettingText("-resolution", std::to_string(grid.resolution)));
    if (grid.looks != Looks()) causes.push_back(SettingText("-looks", ToText(grid.looks)));
    throw Failure("no pixel of the " + SizeText(grid.window.columns, grid.window.rows) + " of " +
                  name + " is left by " + Joined(causes, " and "));
  }
  grid.window.columns = grid.columns * grid.resolution * grid.looks.x;
  grid.window.rows = grid.rows * grid.resolution * grid.looks.y;
  return grid;
}

}  // namespace lumomixcalc::standalone
