#include "standalone/base/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>
#include <vector>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

template <typename Number>
std::string Shortest(Number value) {
  if (std::isnan(value)) return "nan";  // to_chars shows the sign of a NaN, which says nothing
  char text[64];
  return {text, std::to_chars(std::begin(text), std::end(text), value).ptr};
}

template <typename Number>
std::optional<Number> ParseDecimal(std::string_view text) {
  // from_chars accepts a minus sign but no plus sign.
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
  const std::string start = std::string("-").append(name) + "=";
  if (!argument.starts_with(start)) return 0;
  const std::vector<std::string> parts = Split(argument.substr(start.size()), ':');
  if (parts.size() > static_cast<std::size_t>(maxCount)) return kMalformed;
  std::vector<float> read(static_cast<std::size_t>(maxCount));
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const std::optional<float> value = ParseFloat(parts[i]);
    if (!value) return kMalformed;
    read[i] = *value;
  }
  std::copy(read.begin(), read.end(), values);
  return static_cast<int>(parts.size());
}

std::string ShortestText(float value) { return Shortest(value); }
std::string ShortestText(double value) { return Shortest(value); }

}  // namespace lumomixcalc::standalone
