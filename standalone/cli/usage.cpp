#include <cpl_string.h>
#include <gdal.h>

#include <cstdio>
#include <string>

#include "standalone/base/messages.h"
#include "standalone/cli/options.h"

namespace lumomixcalc::standalone {
namespace {

constexpr const char* kEnd = R"(
Without options A and B are 1, the operator is a1+b2 and nothing is clamped.
Numbers are written with a decimal point; -a=0.5:-1.5 is 0.5 - 1.5i.

Examples:
     lumomixcalc first.slc second.slc interferogram.tif -operator=a1_conj_b2
     lumomixcalc interferogram.tif phase.tif -operator=a_phase_1 -mode=float32

Exit status: 0 done, 1 failed, 2 wrong command line, 128 plus the number of the
signal that ended the run.
)";

// In lines of less than 80 characters.
void PrintOption(const std::string& synopsis, const std::string& help) {
  std::string line = CPLSPrintf("     %-12s ", synopsis.c_str());
  for (const std::string& word : Split(help, ' ')) {
    if (line.size() + word.size() > 78) {
      std::puts(line.c_str());
      line.assign(18, ' ');
    }
    line += " " + word;
  }
  std::puts(line.c_str());
}

}  // namespace

void PrintUsage(const Registration& registration, const std::vector<ApplicationChoice>& choices) {
  std::printf("Usage: %s %s [options]\n\nFiles, in this order or by name:\n", kProgramName,
              FilesSynopsis(registration).c_str());
  for (const DeclaredStream& stream : AllStreams(registration))
    PrintOption(stream.OptionName() + "=FILE", stream.number == registration.output.number
                                                   ? "output raster"
                                                   : "input raster, any that GDAL opens");
  std::puts("\nOptions:");
  std::string gdalNames;
  for (const HostOption& option : HostOptions()) {
    std::string help = option.help ? option.help : "";
    if (option.IsChoice()) help += "; one of " + Joined(option.choices());
    if (option.help) PrintOption(option.Synopsis(), help);
    gdalNames.append(option.gdalName.empty() ? "" : " ").append(option.gdalName);
  }
  PrintOption("--", "what follows are files, even when they begin with a dash");
  std::printf("\nAs in GDAL's programs, with the values after them:\n    %s\n\n",
              gdalNames.c_str());
  {
    const MessageRedirection toOutput([](const std::string& line) { std::puts(line.c_str()); });
    registration.Call(IP_SLOT_DISPLAY_USAGE);
  }
  std::puts("\nOperators:");
  for (const ApplicationChoice& choice : choices)
    std::printf("     %-22s  %s\n", choice.argument.c_str(), choice.meaning.c_str());
  std::fputs(kEnd, stdout);
}

void PrintVersion() {
  std::printf("%s %s (GDAL %s)\n", kProgramName, LUMOMIXCALC_VERSION,
              GDALVersionInfo("RELEASE_NAME"));
}

void PrintOperators(const std::vector<ApplicationChoice>& choices) {
  for (const ApplicationChoice& choice : choices)
    std::printf("%s\t%s\n", choice.argument.c_str() + NameOf(choice.argument).size() + 1,
                choice.meaning.c_str());
}

void PrintCompletions(const Registration& registration,
                      const std::vector<ApplicationChoice>& choices) {
  for (const DeclaredStream& stream : AllStreams(registration))
    std::printf("%s=\n%s=@\n", stream.OptionName().c_str(), stream.OptionName().c_str());
  for (const HostOption& option : HostOptions()) {
    const std::string name = std::string(option.name) + (option.values > 0 ? "=" : "");
    if (!option.name.empty()) std::puts(name.c_str());
    if (option.choices)
      for (const std::string& value : option.choices()) std::puts((name + value).c_str());
  }
  for (const std::string& option : ApplicationOptions(registration)) {
    const std::string name = NameOf(option);
    std::puts((name + (name == option ? "" : "=")).c_str());
  }
  for (const ApplicationChoice& choice : choices) std::puts(choice.argument.c_str());
}

}  // namespace lumomixcalc::standalone
