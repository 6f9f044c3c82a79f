#include "standalone/cli/usage.h"

#include <gdal.h>

#include <cstdio>
#include <string>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/cli/options.h"
#include "standalone/framework/host_calls.h"
#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {
namespace {

constexpr const char* kEnd =
    "\nWithout options A and B are 1, the operator is a1+b2 and nothing is clamped. Numbers are\n"
    "written with a decimal point; -a=0.5:-1.5 is 0.5 - 1.5i.\n"
    "\nExamples:\n"
    "     lumomixcalc first.slc second.slc interferogram.tif -operator=a1_conj_b2\n"
    "     lumomixcalc interferogram.tif phase.tif -operator=a_phase_1 -mode=float32\n"
    "\nExit status: 0 done, 1 failed with nothing published, 2 wrong command line, 128 plus the\n"
    "signal's number when a signal ended the run.\n";

}  // namespace

void PrintUsage(HostState& host, const std::vector<OperatorName>& operators) {
  const Registration& registration = host.registration;
  std::string text = "Usage: " + std::string(kProgramName) + " " + FilesSynopsis(registration) +
                     " [options]\n\nFiles, in this order or by name:\n";
  for (const DeclaredStream& input : registration.inputs)
    text += "     -" + input.OptionName() + "=FILE   input raster, any that GDAL opens\n";
  text += "     -" + registration.Output().OptionName() + "=FILE    output raster\n";
  text += "\nOptions:\n";
  text +=
      "     -mode=MODE    how the output stores its elements:\n                   " +
      ListText(DataModeNames()) +
      ";\n                   without it cfloat32 when an input that is read is complex,\n"
      "                   else float32;\n"
      "                   integer modes round to nearest and saturate\n"
      "     -format=NAME  GDAL format of the output; without it the one of the file's\n"
      "                   extension, else GTiff\n"
      "     -co=NAME=VALUE  creation option of the format; may be repeated\n"
      "     -region=X:Y:WIDTH:HEIGHT  only these pixels of the first input read\n"
      "     -window=XMIN:YMIN:XMAX:YMAX  only the pixels that this area touches, in the\n"
      "                   units of the first input's georeferencing\n"
      "     -resolution=N  1/N of the size in both directions, whole output pixels only\n"
      "     -resampling=METHOD  how: nearest (the default), average, bilinear or cubic, from\n"
      "                   the pixels of full resolution; or overview, the inputs' own\n"
      "                   overviews of just that resolution\n"
      "     -looks=NX:NY  average the results over blocks of NX columns and NY rows, complex\n"
      "                   ones as complex numbers; -looks=N is -looks=N:N\n"
      "     -bands=LIST   only these bands, such as 1,3-5, in this order\n"
      "     -nodata=keep  take the inputs' no-data values for numbers; without it they\n"
      "                   become NaN, in the output, too\n"
      "     -stats=FILE   write the statistics as JSON; - is standard output, in place of lines\n"
      "     -overwrite    replace the output, which may be an input, and the file of -stats=\n"
      "     -quiet        print no statistics; they are those of the result before an\n"
      "                   integer mode rounds and saturates it\n"
      "     -panel        show the panel with these files and options; files may be left out.\n"
      "                   On a desktop also without any argument\n"
      "     -h, -help, --help, -version, --version\n"
      "     --            what follows are files, even when they begin with a dash\n\n";
  std::fputs(text.c_str(), stdout);
  host.messagesAreUsage = true;
  registration.Call(IP_SLOT_DISPLAY_USAGE);
  host.messagesAreUsage = false;
  std::fputs("\nOperators:\n", stdout);
  for (const OperatorName& one : operators)
    std::printf("     -operator=%-12s  %s\n", one.name.c_str(), one.label.c_str());
  std::fputs(kEnd, stdout);
}

void PrintVersion() {
  std::printf("%s %s (GDAL %s)\n", kProgramName, LUMOMIXCALC_VERSION,
              GDALVersionInfo("RELEASE_NAME"));
}

}  // namespace lumomixcalc::standalone
