#ifndef LUMOMIXCALC_STANDALONE_PANEL_FLOAT_TEXT_H
#define LUMOMIXCALC_STANDALONE_PANEL_FLOAT_TEXT_H

#include <optional>
#include <string>

namespace lumomixcalc::standalone {

// Reads a number as people type or paste it: as ParseFloat does, and with blanks around it, a
// decimal comma in place of the point, or a typographic minus. None when it is anything else: a
// number with both point and comma could mean two things.
std::optional<float> ParseTypedFloat(const std::string& text);

}  // namespace lumomixcalc::standalone

#endif
