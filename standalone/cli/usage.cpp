#include "standalone/cli/usage.h"

#include <gdal.h>

#include <cstdio>
#include <string>

#include "standalone/base/messages.h"
#include "standalone/framework/host_calls.h"
#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {
namespace {

// The text after the list of data modes.
constexpr const char* kOptions = R"(;
                   without it cfloat32 when an input that is read is complex,
                   else float32;
                   integer modes round to nearest and saturate
     -format=NAME  GDAL format of the output; without it the one of the file's
                   extension, or GTiff for a name without one
     -co=NAME=VALUE  creation option of the format; may be repeated
     -region=X:Y:WIDTH:HEIGHT  only these pixels of the first input read
     -window=XMIN:YMIN:XMAX:YMAX  only the pixels that this area touches, in the
                   units of the first input's georeferencing
     -resolution=N  1/N of the size in both directions, whole output pixels only
     -resampling=METHOD  how: nearest (the default), average, bilinear or cubic, from
                   the pixels of full resolution; or overview, the inputs' own
                   overviews of just that resolution
     -looks=NX:NY  average the results over blocks of NX columns and NY rows, complex
                   ones as complex numbers; -looks=N is -looks=N:N
     -bands=LIST   only these bands, such as 1,3-5, in this order
     -nodata=VALUE  what is no data in the inputs, in place of what they declare; no data
                   becomes NaN, in the output, too. -nodata=keep leaves it as numbers
     -a_nodata=VALUE  what stands for no data in the output
     -unscale      apply the scale and offset that the inputs' bands declare
     -oo=NAME=VALUE  option for opening the inputs; may be repeated
     -stats=FILE   write the statistics as JSON; - is standard output, in place of lines
     -part=K/N     compute the K-th of N bands of rows of the output NAME.vrt, into the
                   folder NAME.parts; a part that is there is done
     -join=NAME.vrt  make the mosaic of all parts; with -overwrite, -stats=, -quiet alone
     -overwrite    replace the output, which may be an input, and the file of -stats=
     -check        check the files and options alone and print the name of the output;
                   nothing is computed or written
     -quiet        print no statistics and no progress; statistics are those of the
                   result before an integer mode rounds and saturates it
     -panel        show the panel with these files, two being the inputs, and options;
                   files may be left out. On a desktop also without any argument
     -h, -help, --help, -version, --version
     --            what follows are files, even when they begin with a dash

)";

constexpr const char* kEnd = R"(
Without options A and B are 1, the operator is a1+b2 and nothing is clamped. Numbers are
written with a decimal point; -a=0.5:-1.5 is 0.5 - 1.5i.

Examples:
     lumomixcalc first.slc second.slc interferogram.tif -operator=a1_conj_b2
     lumomixcalc interferogram.tif phase.tif -operator=a_phase_1 -mode=float32

Exit status: 0 done, 1 failed, 2 wrong command line, 128 plus the signal's number when a
signal ended the run.
)";

}  // namespace

void PrintUsage(const Registration& registration, const std::vector<OperatorName>& operators) {
  std::printf("Usage: %s %s [options]\n\nFiles, in this order or by name:\n", kProgramName,
              FilesSynopsis(registration).c_str());
  for (const DeclaredStream& input : registration.inputs)
    std::printf("     -%s=FILE   input raster, any that GDAL opens\n", input.OptionName().c_str());
  std::printf("     -%s=FILE    output raster\n\nOptions:\n",
              registration.output.OptionName().c_str());
  std::printf("     -mode=MODE    how the output stores its elements:\n                   %s%s",
              Joined(DataModeNames()).c_str(), kOptions);
  {
    const MessageRedirection toOutput([](const std::string& line) { std::puts(line.c_str()); });
    registration.Call(IP_SLOT_DISPLAY_USAGE);
  }
  std::puts("\nOperators:");
  for (const OperatorName& one : operators)
    std::printf("     -operator=%-12s  %s\n", one.name.c_str(), one.label.c_str());
  std::fputs(kEnd, stdout);
}

void PrintVersion() {
  std::printf("%s %s (GDAL %s)\n", kProgramName, LUMOMIXCALC_VERSION,
              GDALVersionInfo("RELEASE_NAME"));
}

}  // namespace lumomixcalc::standalone
