#pragma once

#include <optional>
#include <string>
#include <string_view>

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

// The shortest decimal number that reads back as the same value.
std::string ShortestText(float value);
std::string ShortestText(double value);

}  // namespace lumomixcalc::standalone
