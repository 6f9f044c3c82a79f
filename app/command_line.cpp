#include "app/command_line.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "app/messages.h"
#include "app/parameters.h"
#include "host/ip.h"
#include "ops/catalogue.h"

namespace lumomixcalc {
namespace {

constexpr std::string_view operator_option = "-operator=";

enum class Outcome { kNotThisOption, kAccepted, kFaulty };

Outcome ReadCoefficient(const char* arg, const char* name, float* coefficient,
                        const char* complaint) {
  const int count = IPParseRealArg(arg, name, 2, coefficient);
  if (count == 0) return Outcome::kNotThisOption;
  if (count == 1 || count == 2) return Outcome::kAccepted;
  ShowMessage(complaint);
  return Outcome::kFaulty;
}

Outcome ReadOperator(const char* arg) {
  if (!std::string_view(arg).starts_with(operator_option)) return Outcome::kNotThisOption;
  const char* name = arg + operator_option.size();
  const auto match = std::find_if(gOperationCmdlineNames.begin(), gOperationCmdlineNames.end(),
                                  [&](const char* known) { return std::strcmp(known, name) == 0; });
  if (match == gOperationCmdlineNames.end()) {
    static constexpr const char* prefix = "Unrecognized operator";
    ShowMessageAbout(prefix, name);
    return Outcome::kFaulty;
  }
  gOperationChoice = static_cast<std::int32_t>(match - gOperationCmdlineNames.begin());
  return Outcome::kAccepted;
}

Outcome ReadClamp(const char* arg) {
  if (std::strcmp(arg, "-clamp") != 0) return Outcome::kNotThisOption;
  gClampAtZero = 1;
  return Outcome::kAccepted;
}

// Tries the options in turn; the first one that the argument belongs to reads it.
Outcome ReadOption(const char* arg) {
  static constexpr const char* leader = "Unrecognized option";
  Outcome outcome =
      ReadCoefficient(arg, "a", gCoeffA, "-a requires one or two real-valued arguments");
  if (outcome != Outcome::kNotThisOption) return outcome;
  outcome = ReadCoefficient(arg, "b", gCoeffB, "-b requires one or two real-valued arguments");
  if (outcome != Outcome::kNotThisOption) return outcome;
  outcome = ReadOperator(arg);
  if (outcome != Outcome::kNotThisOption) return outcome;
  outcome = ReadClamp(arg);
  if (outcome != Outcome::kNotThisOption) return outcome;
  ShowMessageAbout(leader, arg);
  return Outcome::kFaulty;
}

// One option of the echoed command line, built in a fixed buffer: the longest coefficient option
// has 28 characters and the longest operator option 23.
class OptionText {
 public:
  OptionText& operator<<(std::string_view text) {
    end_ = std::copy(text.begin(), text.end(), end_);
    return *this;
  }

  // Like printf's %g in the C locale, whatever the locale of the host's process: a decimal comma
  // could not be read back.
  OptionText& operator<<(float value) {
    constexpr int kSignificantDigits = 6;
    end_ = std::to_chars(end_, text_.data() + text_.size(), static_cast<double>(value),
                         std::chars_format::general, kSignificantDigits)
               .ptr;
    return *this;
  }

  const char* Text() {
    *end_ = '\0';
    return text_.data();
  }

 private:
  std::array<char, 60> text_;
  char* end_ = text_.data();
};

void AppendCoefficient(std::string_view option, const float* coefficient) {
  OptionText text;
  text << option << coefficient[0] << ":" << coefficient[1];
  IPAppendCommand(text.Text());
}

}  // namespace

void ReadCmdLine() {
  const char* arg = nullptr;
  for (int index = 1; (arg = IPGetArg(index)) != nullptr; ++index) {
    if (ReadOption(arg) == Outcome::kFaulty) IPDesist();
  }
}

void DisplayUsage() {
  ShowMessage("Application-specific arguments:");
  ShowMessage("     [-a=real[:imaginary]] [-b=real[:imaginary]] \\");
  ShowMessage("     [-operator=op] [-clamp]");
}

void WriteCmdLine() {
  AppendCoefficient("-a=", gCoeffA);
  AppendCoefficient("-b=", gCoeffB);
  OptionText text;
  text << operator_option << "'"
       << gOperationCmdlineNames[static_cast<std::size_t>(gOperationChoice)] << "'";
  IPAppendCommand(text.Text());
  if (gClampAtZero != 0) IPAppendCommand("-clamp");
}

}  // namespace lumomixcalc
