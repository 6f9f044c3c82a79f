#include "standalone/cli/selection_options.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {
namespace {

// No raster of GDAL's has as many bands; a larger range is a slip that would only fill memory.
constexpr int kMostBands = 65536;

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t end = 0; (end = text.find(separator)) != std::string_view::npos;
       text.remove_prefix(end + 1))
    parts.push_back(text.substr(0, end));
  parts.push_back(text);
  return parts;
}

// The four numbers of "a:b:c:d"; none when there are more or fewer or one is malformed.
template <typename Number>
std::optional<std::array<Number, 4>> FourOf(const std::string& text,
                                            std::optional<Number> (*parse)(std::string_view)) {
  const std::vector<std::string_view> parts = Split(text, ':');
  if (parts.size() != 4) return std::nullopt;
  std::array<Number, 4> numbers;
  for (std::size_t i = 0; i < 4; ++i) {
    const std::optional<Number> number = parse(parts[i]);
    if (!number) return std::nullopt;
    numbers[i] = *number;
  }
  return numbers;
}

// The bands of "3" or "3-5"; empty when it is neither.
std::vector<int> BandRange(std::string_view text) {
  const std::size_t dash = text.find('-');
  const std::optional<int> first = ParseInt(text.substr(0, dash));
  const std::optional<int> last =
      dash == std::string_view::npos ? first : ParseInt(text.substr(dash + 1));
  if (!first || !last || *first < 1 || *last < *first || *last > kMostBands) return {};
  std::vector<int> bands;
  for (int band = *first; band <= *last; ++band) bands.push_back(band);
  return bands;
}

}  // namespace

PixelWindow ParseRegion(const std::string& text) {
  const auto numbers = FourOf<int>(text, ParseInt);
  if (!numbers || (*numbers)[2] < 1 || (*numbers)[3] < 1)
    throw WrongCommandLine("-region=" + text +
                           ": write x:y:width:height in whole pixels, such as "
                           "-region=0:0:512:512");
  return {(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
}

MapWindow ParseWindow(const std::string& text) {
  const auto numbers = FourOf<double>(text, ParseDouble);
  const auto isWindow = [](const std::array<double, 4>& n) {
    for (const double number : n)
      if (!std::isfinite(number)) return false;
    return n[0] < n[2] && n[1] < n[3];
  };
  if (!numbers || !isWindow(*numbers))
    throw WrongCommandLine("-window=" + text +
                           ": write xmin:ymin:xmax:ymax in the units of the first input's "
                           "georeferencing, the minima below the maxima");
  return {(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
}

int ParseResolution(const std::string& text) {
  const std::optional<int> number = ParseInt(text);
  if (!number || *number < 1)
    throw WrongCommandLine("-resolution=" + text +
                           ": write a whole number N from 1, for 1/N of the size");
  return *number;
}

Looks ParseLooks(const std::string& text) {
  const std::vector<std::string_view> parts = Split(text, ':');
  const std::optional<int> x = ParseInt(parts.front());
  const std::optional<int> y = ParseInt(parts.back());
  if (parts.size() > 2 || !x || !y || *x < 1 || *y < 1)
    throw WrongCommandLine("-looks=" + text +
                           ": write NX:NY, whole numbers from 1, such as -looks=4:1, or one number "
                           "for both");
  return {*x, *y};
}

Resampling ParseResampling(const std::string& text) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < kResamplingMethods.size(); ++i) {
    if (text == kResamplingMethods[i].name) return static_cast<Resampling>(i);
    names.emplace_back(kResamplingMethods[i].name);
  }
  throw WrongCommandLine("-resampling=" + text + ": unknown resampling; known are " +
                         ListText(names) + Suggestion(text, names));
}

std::vector<int> ParseBands(const std::string& text) {
  std::vector<int> bands;
  for (const std::string_view part : Split(text, ',')) {
    const std::vector<int> range = BandRange(part);
    if (range.empty() || bands.size() + range.size() > kMostBands)
      throw WrongCommandLine("-bands=" + text +
                             ": write band numbers from 1 and ranges of them, such as "
                             "-bands=1,3-5");
    bands.insert(bands.end(), range.begin(), range.end());
  }
  return bands;
}

std::vector<std::string> SelectionArguments(const Selection& selection,
                                            const std::vector<int>& bands) {
  std::vector<std::string> arguments;
  if (selection.region) arguments.push_back("-region=" + ToText(*selection.region));
  if (selection.window) arguments.push_back("-window=" + ToText(*selection.window));
  if (selection.resolution != 1) {
    arguments.push_back("-resolution=" + std::to_string(selection.resolution));
    const auto method = static_cast<std::size_t>(selection.resampling);
    if (method < kResamplingMethods.size())
      arguments.push_back(std::string("-resampling=") + kResamplingMethods[method].name);
  }
  if (selection.looks.x != 1 || selection.looks.y != 1)
    arguments.push_back("-looks=" + ToText(selection.looks));
  std::string list;
  for (const int band : bands) {
    if (!list.empty()) list += ',';
    list += std::to_string(band);
  }
  if (!list.empty()) arguments.push_back("-bands=" + list);
  return arguments;
}

}  // namespace lumomixcalc::standalone
