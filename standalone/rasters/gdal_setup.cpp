#include "standalone/rasters/gdal_setup.h"

#include <cpl_conv.h>
#include <gdal.h>

#include "standalone/rasters/gdal_errors.h"

namespace lumomixcalc::standalone {

void SetUpGdal() {
  InstallGdalErrorHandler();
  // Else a raw file that is too short reads as zeros where it ends.
  if (!CPLGetConfigOption("RAW_CHECK_FILE_SIZE", nullptr))
    CPLSetConfigOption("RAW_CHECK_FILE_SIZE", "YES");
  GDALAllRegister();
}

}  // namespace lumomixcalc::standalone
