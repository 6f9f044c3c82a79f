#include "standalone/base/texts.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <system_error>
#include <utility>

namespace lumomixcalc::standalone {
namespace {

template <typename Number>
std::string Shortest(Number value) {
  if (std::isnan(value)) return "nan";  // to_chars shows the sign of a NaN, which says nothing
  char text[64];
  char* const end = std::end(text);
  // Left to itself, to_chars writes 500000 as 5e+05 because that is shorter.
  const Number size = std::abs(value);
  const bool plain = size >= static_cast<Number>(1e-4) &&
                     size < std::ldexp(Number{1}, std::numeric_limits<Number>::digits);
  return {text, plain ? std::to_chars(text, end, value, std::chars_format::fixed).ptr
                      : std::to_chars(text, end, value).ptr};
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

// How many characters must be added and removed to turn one text into the other: a1*b2 is nearer to
// a1b2 than to a1+b2. Upper and lower case are the same.
std::size_t EditDistance(const std::string& one, const std::string& other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (strncasecmp(&one[i], &other[j], 1) == 0 ? 0 : 2);
      diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
    }
  }
  return row.back();
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

std::string CountText(std::uint64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t end = 0; (end = text.find(separator)) != std::string_view::npos;
       text.remove_prefix(end + 1))
    parts.emplace_back(text.substr(0, end));
  parts.emplace_back(text);
  return parts;
}

std::string Joined(const std::vector<std::string>& texts, const std::string& separator) {
  std::string joined;
  for (std::size_t i = 0; i < texts.size(); ++i) joined += (i > 0 ? separator : "") + texts[i];
  return joined;
}

std::string Suggestion(const std::string& unknown, const std::vector<std::string>& names) {
  // In relation to the name: abs is nearer to abs_a1 than to a1b.
  const auto distance = [&](const std::string& name) {
    return static_cast<double>(EditDistance(unknown, name)) / static_cast<double>(name.size());
  };
  const auto nearest = std::ranges::min_element(names, {}, distance);
  if (nearest == names.end() || distance(*nearest) > 0.5) return "";
  return "; did you mean " + *nearest + "?";
}

}  // namespace lumomixcalc::standalone
