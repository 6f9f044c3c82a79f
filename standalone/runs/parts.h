#pragma once

#include <cpl_json.h>

#include <filesystem>
#include <optional>
#include <string>

#include "standalone/rasters/output_format.h"
#include "standalone/runs/job.h"
#include "standalone/runs/report.h"
#include "standalone/runs/session.h"

namespace lumomixcalc::standalone {

// One of N bands of rows of a run's output, made by a run of its own: for an output NAME.vrt the
// raster NAME.parts/K-of-N.tif and, published after it, K-of-N.json with the part's report and what
// JoinParts needs. A part is there when its JSON file is.
class Part {
 public:
  // Limits the session to the rows of job.part. Their boundaries are those of the blocks of the
  // TIFF that would be made in one piece, so that a lossy compression makes the same elements.
  // Throws Failure when there are more parts than rows of blocks, or when what is in the place of
  // the folder is not of this cut.
  Part(const Job& job, const std::string& command, const OutputFormat& format, Session& session);

  // As the command line has it.
  std::string Option() const;

  const std::filesystem::path& Raster() const { return raster_; }

  // The report of the part when it is there and whole; none when it must be made. Throws Failure
  // when one is there of another command or other inputs, unless job.overwrite is set.
  std::optional<RunReport> ReportIfThere() const;

  // Makes the folder of the parts. Throws Failure.
  void MakeFolder() const;

  // Makes a part that is replaced count as missing, before its raster is published.
  void Withdraw() const;

  // Publishes the JSON file, the raster being in its place. Throws Failure.
  void Publish(const RunReport& report) const;

 private:
  void RefuseOwnInputs(const Session& session) const;
  void LimitRows(const Job& job, const OutputFormat& format, Session& session);

  std::string output_;
  PartNumber number_;
  bool overwrite_;
  std::filesystem::path folder_;
  std::filesystem::path raster_;
  std::filesystem::path facts_;  // the JSON file
  // What is known before the part is made; of all parts the same but for the part's name.
  CPLJSONObject common_;
};

// Publishes the mosaic of the parts of a run as the VRT file name: georeferencing, metadata and
// descriptions of the whole, and its statistics to the bit. Takes statisticsFile and overwrite of
// job. The report has the whole; its records are those of the parts. Throws Failure that names the
// parts that are missing, broken or do not belong to the others; then nothing is published.
RunReport JoinParts(const std::string& name, const Job& job);

}  // namespace lumomixcalc::standalone
