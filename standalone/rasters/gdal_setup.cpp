#include "standalone/rasters/gdal_setup.h"

#include <cpl_conv.h>
#include <gdal.h>
#include <malloc.h>

#include "standalone/rasters/gdal_errors.h"

namespace lumomixcalc::standalone {

void SetUpGdal() {
  InstallGdalErrorHandler();
  // GDAL allocates and frees blocks of megabytes; of itself glibc takes that as a sign to keep ever
  // more of what is freed.
  mallopt(M_TRIM_THRESHOLD, 1 << 20);
  // Else a raw file that is too short reads as zeros where it ends.
  if (!CPLGetConfigOption("RAW_CHECK_FILE_SIZE", nullptr))
    CPLSetConfigOption("RAW_CHECK_FILE_SIZE", "YES");
  GDALAllRegister();
}

}  // namespace lumomixcalc::standalone
