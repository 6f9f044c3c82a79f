#include "standalone/panel/float_text.h"

#include <string_view>

#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {

std::optional<float> ParseTypedFloat(const std::string& text) {
  constexpr const char* kBlanks = " \t\n\r";
  constexpr std::string_view kTypographicMinus = "\u2212";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return std::nullopt;
  std::string_view rest = text;
  rest = rest.substr(first, text.find_last_not_of(kBlanks) + 1 - first);

  std::string number;
  while (!rest.empty()) {
    const bool minus = rest.starts_with(kTypographicMinus);
    number += minus ? '-' : rest.front();
    rest.remove_prefix(minus ? kTypographicMinus.size() : 1);
  }
  if (const std::size_t comma = number.find(',');
      comma != std::string::npos && number.find('.') == std::string::npos)
    number[comma] = '.';
  return ParseFloat(number);
}

}  // namespace lumomixcalc::standalone
