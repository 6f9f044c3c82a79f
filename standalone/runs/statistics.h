#ifndef LUMOMIXCALC_STANDALONE_RUNS_STATISTICS_H
#define LUMOMIXCALC_STANDALONE_RUNS_STATISTICS_H

#include <gdal_priv.h>

#include <limits>
#include <string>

#include "host/ip.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/integer_output.h"
#include "standalone/runs/valid_statistics.h"

namespace lumomixcalc::standalone {

// What a run tells of one band of its output. Record and valid count the values that the
// application computed, before an integer mode rounds and saturates them. What users see is valid;
// the record is what the application itself counted, rounding its sum to single precision after
// every element (valid_statistics.h says what that means).
struct BandStatistics {
  IPOutputStats record = {std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(), 0};
  ValidStatistics valid;
  UnheldElements unheld;
};

// "band 1: minimum 0, maximum 3.5, mean 1.25, sum 80, 12 no data", each number in its shortest
// exact form and the last only when there are such elements.
std::string StatisticsLine(int band, const BandStatistics& statistics);

// Stores minimum, maximum, mean and, when there are others, the share of valid elements as the
// band's own: for real modes and finite numbers, and only when they are true of what the band
// holds, not when elements were saturated, moved or stored as 0 for want of a NaN. With an integer
// mode the extremes are stored as rounded.
void StoreStatistics(const BandStatistics& statistics, const DataMode& mode, GDALRasterBand& band);

}  // namespace lumomixcalc::standalone

#endif
