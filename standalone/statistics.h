#ifndef LUMOMIXCALC_STANDALONE_STATISTICS_H
#define LUMOMIXCALC_STANDALONE_STATISTICS_H

#include <gdal_priv.h>

#include <cstdint>
#include <limits>
#include <string>

#include "host/ip.h"
#include "standalone/data_modes.h"
#include "standalone/integer_output.h"

namespace lumomixcalc::standalone {

// What a run tells of one band of its output. The record counts the values that the application
// computed, before an integer mode rounds and saturates them.
struct BandStatistics {
  IPOutputStats record = {std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(), 0};
  std::uint64_t count = 0;
  UnheldElements unheld;

  // The record's sum over the count.
  double Mean() const;
};

// "band 1: minimum 0, maximum 3.5, mean 1.25, sum 80", each number in its shortest exact form.
std::string StatisticsLine(int band, const BandStatistics& statistics);

// Stores minimum, maximum and mean as the band's own, for real modes and finite numbers, and only
// when they are true of what the band holds: not when elements were saturated or NaN. With an
// integer mode the extremes are stored as rounded.
void StoreStatistics(const BandStatistics& statistics, const DataMode& mode, GDALRasterBand& band);

}  // namespace lumomixcalc::standalone

#endif
