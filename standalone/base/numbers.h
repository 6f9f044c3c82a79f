#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lumomixcalc::standalone {

// Reads the whole of text as a decimal float, whatever the locale: digits with an optional sign,
// decimal point and exponent, or inf or nan. None when it is anything else, blanks included, or
// when the value is beyond a float's range, too small to be told from zero included.
std::optional<float> ParseFloat(std::string_view text);
std::optional<double> ParseDouble(std::string_view text);

// The same for digits with an optional sign and an int's range.
std::optional<int> ParseInt(std::string_view text);

// Reads "-NAME=value[:value...]", at most maxCount values. Returns 0 when argument does not begin
// with "-NAME=", -1 when it does and is malformed, else the number of values given. Only a well
// formed argument stores anything; it then sets all maxCount values, those not given to 0, so that
// a complex number given by its real part alone has no imaginary part left over from before.
int ParseRealArgument(std::string_view argument, std::string_view name, int maxCount,
                      float* values);

// The shortest decimal that reads back as the same number.
std::string ShortestText(float value);
std::string ShortestText(double value);

}  // namespace lumomixcalc::standalone
