#ifndef LUMOMIXCALC_STANDALONE_RASTERS_GDAL_SETUP_H
#define LUMOMIXCALC_STANDALONE_RASTERS_GDAL_SETUP_H

namespace lumomixcalc::standalone {

// Sets GDAL up for runs of this host: error handler, configuration, drivers. To be called once in
// the process, before anything else of GDAL. What the user configured stays.
void SetUpGdal();

}  // namespace lumomixcalc::standalone

#endif
