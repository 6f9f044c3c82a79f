#include "standalone/usage.h"

#include <gdal.h>

#include <cstdio>
#include <string>

#include "standalone/data_modes.h"
#include "standalone/messages.h"
#include "standalone/options.h"
#include "standalone/run_context.h"

namespace lumomixcalc::standalone {

void PrintUsage(RunContext& context) {
  const Registration& registration = context.registration;
  std::string text = "Usage: " + std::string(kProgramName) + " " + FilesSynopsis(registration) +
                     " [options]\n\nFiles, in this order or by name:\n";
  for (const DeclaredStream& input : registration.inputs)
    text += "     -" + input.OptionName() + "=FILE   input raster, any that GDAL opens\n";
  text += "     -" + registration.Output().OptionName() + "=FILE    output raster\n";
  text += "\nOptions:\n";
  text += "     -mode=MODE    how the output stores its elements:\n                   " +
          DataModeNames() + ";\n                   without it cfloat32 when a complex " +
          registration.inputs.front().label +
          " is read, else float32;\n"
          "                   integer modes round to nearest and saturate\n"
          "     -format=NAME  GDAL format of the output; without it the one of the file's\n"
          "                   extension, else GTiff\n"
          "     -co=NAME=VALUE  creation option of the format; may be repeated\n"
          "     -overwrite    replace the output when it exists; it may be an input, too\n"
          "     -quiet        print no statistics; they are those of the result before an\n"
          "                   integer mode rounds and saturates it\n"
          "     -help, --help, --version\n"
          "     --            what follows are files, even when they begin with a dash\n\n";
  std::fputs(text.c_str(), stdout);
  context.messagesAreUsage = true;
  registration.Call(IP_SLOT_DISPLAY_USAGE);
  context.messagesAreUsage = false;
}

void PrintVersion() {
  std::printf("%s %s (GDAL %s)\n", kProgramName, LUMOMIXCALC_VERSION,
              GDALVersionInfo("RELEASE_NAME"));
}

}  // namespace lumomixcalc::standalone
