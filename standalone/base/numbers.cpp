#include "standalone/base/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>
#include <vector>

namespace lumomixcalc::standalone {
namespace {

template <typename Number>
std::string Shortest(Number value) {
  if (std::isnan(value)) return "nan";  // to_chars shows the sign of a NaN, which says nothing
  char text[64];
  const auto [end, error] = std::to_chars(std::begin(text), std::end(text), value);
  return error == std::errc() ? std::string(text, end) : std::string("?");
}

template <typename Number>
std::optional<Number> ParseDecimal(std::string_view text) {
  // from_chars takes a minus sign but no plus.
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  Number value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

}  // namespace

std::optional<float> ParseFloat(std::string_view text) { return ParseDecimal<float>(text); }
std::optional<double> ParseDouble(std::string_view text) { return ParseDecimal<double>(text); }
std::optional<int> ParseInt(std::string_view text) { return ParseDecimal<int>(text); }

int ParseRealArgument(std::string_view argument, std::string_view name, int maxCount,
                      float* values) {
  constexpr int kMalformed = -1;
  if (!argument.starts_with('-') || !argument.substr(1).starts_with(name) ||
      !argument.substr(1 + name.size()).starts_with('='))
    return 0;
  std::string_view rest = argument.substr(name.size() + 2);
  std::vector<float> read;
  for (bool more = true; more;) {
    const std::size_t colon = rest.find(':');
    const std::optional<float> value = ParseFloat(rest.substr(0, colon));
    if (!value || read.size() == static_cast<std::size_t>(maxCount)) return kMalformed;
    read.push_back(*value);
    more = colon != std::string_view::npos;
    if (more) rest.remove_prefix(colon + 1);
  }
  std::fill(std::copy(read.begin(), read.end(), values), values + maxCount, 0.0F);
  return static_cast<int>(read.size());
}

std::string ShortestText(float value) { return Shortest(value); }
std::string ShortestText(double value) { return Shortest(value); }

}  // namespace lumomixcalc::standalone
