#pragma once

#include <cpl_json.h>
#include <gdal_priv.h>

#include <optional>
#include <string>

#include "standalone/runs/job.h"
#include "standalone/runs/plan.h"
#include "standalone/runs/report.h"

namespace lumomixcalc::standalone {

// One of N bands of rows of an output, made by a separate run: for an output NAME.vrt the TIFF
// NAME.parts/K-of-N.tif. Its metadata hold the facts that JoinParts needs, with the report of the
// part, so that they cannot belong to other pixels.
class Part {
 public:
  // Limits the plan of the run to the rows of job.part. Parts begin and end at boundaries between
  // blocks of the TIFF that a run of the whole output would make, so that lossy compression gives
  // the same elements. Throws Failure when there are more parts than rows of blocks, when the
  // folder holds parts of another count, or when a creation option leaves out GDAL's metadata.
  Part(const Job& job, PlannedRun& run);

  // The report of the part if it exists. None when it must be made. Throws Failure when the file is
  // of another command, of other inputs or not a whole part, unless job.overwrite is set.
  std::optional<RunReport> ReportIfDone() const;

  // Stores the facts in the metadata of the part's raster.
  void StoreFacts(const RunReport& report, GDALDataset& raster) const;

 private:
  bool overwrite_;
  std::string file_;
  // The facts that are known before the part is made. All parts have the same, except the name.
  CPLJSONObject common_;
};

// Publishes the mosaic of all parts as the VRT file `name`, with the georeferencing, the metadata,
// the descriptions and, to the bit, the statistics of a run of the whole output. Uses
// statisticsFile and overwrite of job. Returns the report of the whole output, with the records of
// the parts. Throws Failure, which names the parts that are missing, broken or unlike the others.
// Then nothing is published.
RunReport JoinParts(const std::string& name, const Job& job);

}  // namespace lumomixcalc::standalone
