#include "standalone/rasters/grid.h"

#include <cpl_string.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

bool Contains(const PixelWindow& area, const PixelWindow& window) {
  return window.x >= area.x && window.y >= area.y && window.columns > 0 && window.rows > 0 &&
         window.x <= area.x + area.columns - window.columns &&
         window.y <= area.y + area.rows - window.rows;
}

// The first pixel that the range of map coordinates touches, and the pixel after the last one.
std::pair<double, double> Touched(double from, double to, double origin, double pixel) {
  const auto [low, high] = std::minmax({(from - origin) / pixel, (to - origin) / pixel});
  return {std::floor(SnappedToEdge(low)), std::ceil(SnappedToEdge(high))};
}

// The area that pixels of an image cover that is not rotated.
MapWindow MapWindowOf(const PixelWindow& pixels, const Geotransform& transform) {
  const auto [left, right] =
      std::minmax({transform[0] + pixels.x * transform[1],
                   transform[0] + (pixels.x + pixels.columns) * transform[1]});
  const auto [bottom, top] = std::minmax({transform[3] + pixels.y * transform[5],
                                          transform[3] + (pixels.y + pixels.rows) * transform[5]});
  return {left, bottom, right, top};
}

// The pixels that the map window touches.
PixelWindow PixelsOf(const MapWindow& window, const Geotransform& transform,
                     const PixelWindow& area, const std::string& name) {
  const std::string option = "-window=" + ToText(window);
  if (transform[2] != 0 || transform[4] != 0)
    throw Failure(option + ": the image " + name + " is rotated on the map; choose pixels by " +
                  SettingText("-region"));
  const auto [left, right] = Touched(window.xMin, window.xMax, transform[0], transform[1]);
  const auto [top, bottom] = Touched(window.yMin, window.yMax, transform[3], transform[5]);
  // This form of the condition refuses a NaN, too.
  if (!(left >= area.x && top >= area.y && right <= area.x + area.columns &&
        bottom <= area.y + area.rows && left < right && top < bottom))
    throw Failure(option + " is not inside " + name + ", which has " +
                  SizeText(area.columns, area.rows) + " and covers " +
                  ToText(MapWindowOf(area, transform)));
  return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
          static_cast<int>(bottom - top)};
}

PixelWindow ChosenPixels(const Selection& selection, const PixelWindow& area,
                         const std::optional<Geotransform>& transform, const std::string& name) {
  if (selection.region) {
    if (Contains(area, *selection.region)) return *selection.region;
    throw Failure(SettingText("-region", ToText(*selection.region)) + " is not inside " + name +
                  ", which has " + SizeText(area.columns, area.rows));
  }
  if (selection.window) {
    if (transform) return PixelsOf(*selection.window, *transform, area, name);
    throw Failure("-window=" + ToText(*selection.window) + ": " + name +
                  " has no geotransform; choose pixels by " + SettingText("-region"));
  }
  return area;
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

OutputGrid OutputGrid::On(const PixelPosition& origin) const {
  OutputGrid moved = *this;
  moved.window.x -= origin.x;
  moved.window.y -= origin.y;
  return moved;
}

OutputGrid MakeOutputGrid(const Selection& selection, const PixelWindow& area,
                          const std::optional<Geotransform>& transform, const std::string& name) {
  OutputGrid grid;
  grid.window = ChosenPixels(selection, area, transform, name);
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
