#include "standalone/runs/statistics.h"

#include <cmath>

#include "standalone/base/numbers.h"

namespace lumomixcalc::standalone {

std::string StatisticsLine(int band, const BandStatistics& statistics) {
  const ValidStatistics& valid = statistics.valid;
  const std::string start = "band " + std::to_string(band) + ": ";
  if (valid.valid == 0)
    return start + "all " + std::to_string(valid.noData) + " elements are no data";
  std::string line = start + "minimum " + ShortestText(valid.minimum) + ", maximum " +
                     ShortestText(valid.maximum) + ", mean " + ShortestText(valid.Mean()) +
                     ", sum " + ShortestText(valid.sum);
  if (valid.noData > 0) line += ", " + std::to_string(valid.noData) + " no data";
  return line;
}

void StoreStatistics(const BandStatistics& statistics, const DataMode& mode, GDALRasterBand& band) {
  const ValidStatistics& valid = statistics.valid;
  const UnheldElements& unheld = statistics.unheld;
  const bool finite =
      std::isfinite(valid.minimum) && std::isfinite(valid.maximum) && std::isfinite(valid.sum);
  if (mode.complex || !finite || unheld.saturated > 0 || unheld.moved > 0 || unheld.nan > 0) return;
  const auto text = [&mode](float extreme) {
    return mode.integer ? ShortestText(RoundedAndSaturated(extreme, mode)) : ShortestText(extreme);
  };
  band.SetMetadataItem("STATISTICS_MINIMUM", text(valid.minimum).c_str());
  band.SetMetadataItem("STATISTICS_MAXIMUM", text(valid.maximum).c_str());
  band.SetMetadataItem("STATISTICS_MEAN", ShortestText(valid.Mean()).c_str());
  if (valid.noData == 0) return;
  const double share =
      100 * static_cast<double>(valid.valid) / static_cast<double>(valid.Elements());
  band.SetMetadataItem("STATISTICS_VALID_PERCENT", ShortestText(share).c_str());
}

}  // namespace lumomixcalc::standalone
