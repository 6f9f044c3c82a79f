#include "standalone/statistics.h"

#include <cmath>

#include "standalone/numbers.h"

namespace lumomixcalc::standalone {

double BandStatistics::Mean() const {
  return static_cast<double>(record.sum) / static_cast<double>(count);
}

std::string StatisticsLine(int band, const BandStatistics& statistics) {
  const IPOutputStats& record = statistics.record;
  return "band " + std::to_string(band) + ": minimum " + ShortestText(record.minimum) +
         ", maximum " + ShortestText(record.maximum) + ", mean " + ShortestText(statistics.Mean()) +
         ", sum " + ShortestText(record.sum);
}

void StoreStatistics(const BandStatistics& statistics, const DataMode& mode, GDALRasterBand& band) {
  const IPOutputStats& record = statistics.record;
  const bool finite =
      std::isfinite(record.minimum) && std::isfinite(record.maximum) && std::isfinite(record.sum);
  if (mode.complex || !finite || statistics.unheld.saturated > 0 || statistics.unheld.nan > 0)
    return;
  const auto text = [&mode](float extreme) {
    return mode.integer ? ShortestText(RoundedAndSaturated(extreme, mode)) : ShortestText(extreme);
  };
  band.SetMetadataItem("STATISTICS_MINIMUM", text(record.minimum).c_str());
  band.SetMetadataItem("STATISTICS_MAXIMUM", text(record.maximum).c_str());
  band.SetMetadataItem("STATISTICS_MEAN", ShortestText(statistics.Mean()).c_str());
}

}  // namespace lumomixcalc::standalone
