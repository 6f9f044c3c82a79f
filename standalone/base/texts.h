#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumomixcalc::standalone {

// Reads the whole text as a decimal number, whatever the locale: digits with an optional sign,
// decimal point and exponent, or inf or nan. Returns nothing for any other text, including text
// with blanks, and for numbers outside the type's range, including those too small to differ from
// zero.
std::optional<float> ParseFloat(std::string_view text);
std::optional<double> ParseDouble(std::string_view text);

// The same for digits with an optional sign and an int's range.
std::optional<int> ParseInt(std::string_view text);

// Reads "-NAME=value[:value...]" with at most maxCount values. Returns 0 when argument does not
// begin with "-NAME=", -1 when it does but is malformed, else the number of values given. Only a
// well formed argument stores anything. It sets all maxCount values, and those not given to 0, so
// that a complex number given only by its real part keeps no imaginary part from before.
int ParseRealArgument(std::string_view argument, std::string_view name, int maxCount,
                      float* values);

// The number with the fewest digits that reads back as the same value; with an exponent only when
// it is very large or small.
std::string ShortestText(float value);
std::string ShortestText(double value);

// "1 element", "12 elements".
std::string CountText(std::uint64_t count, const std::string& noun);

// The parts between separators, including empty ones. There is always at least one.
std::vector<std::string> Split(std::string_view text, char separator);

// "a, b, c".
std::string Joined(const std::vector<std::string>& texts, const std::string& separator = ", ");

// "; did you mean NAME?" with the name that is most similar to the unknown one, ignoring case.
// Empty when none is similar enough.
std::string Suggestion(const std::string& unknown, const std::vector<std::string>& names);

}  // namespace lumomixcalc::standalone
