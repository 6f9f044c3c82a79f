#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "standalone/cli/options.h"

namespace lumomixcalc::standalone {

using Values = std::span<const std::string>;

// What parsing, help, echo and completion know of one option of the host.
struct HostOption {
  struct Field {
    // Reads the text after "=", which is not empty; for a switch it is. Returns false when the text
    // is not as expected.
    bool (*read)(Options& options, const std::string& text) = nullptr;
    // The texts after "=" with which the option is repeated for a job, an empty one for a switch.
    // Null for an option that does not change what a run computes.
    std::vector<std::string> (*echo)(const Job& job) = nullptr;
  };

  std::string_view name;      // empty for an option of GDAL's programs alone
  std::string_view gdalName;  // as in GDAL's programs, before its values; may be empty
  std::size_t values;         // how many arguments follow gdalName; 0 for a switch
  const char* form;           // the text after "=" in the help
  const char* expected;       // the end of the message about a wrong text
  const char* help;           // without indentation; null for none
  Field field;
  std::vector<std::string> (*choices)() = nullptr;  // known texts; "@" is any file
  bool joins = false;                               // may be used with -join=

  // "-name=FORM".
  std::string Synopsis() const;

  // Whether `choices` are all texts that it takes.
  bool IsChoice() const { return choices && *expected == '\0'; }
};

// All options of the host, in the order of the help and of the echoed command.
std::span<const HostOption> HostOptions();

// "-name" of "-name=value".
std::string NameOf(const std::string& argument);

// The option that has this name, by itself or in GDAL's programs. Null when there is none.
const HostOption* FindHostOption(const std::string& name);

}  // namespace lumomixcalc::standalone
