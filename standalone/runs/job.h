#pragma once

#include <gdal_priv.h>

#include <functional>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/grid.h"
#include "standalone/rasters/raster_input.h"

namespace lumomixcalc::standalone {

// The part of an output that a run makes: the number-th, from 1, of count bands of rows.
struct PartNumber {
  int number = 0;
  int count = 0;
};

// What the user wants a run to do, and with which files.
struct Job {
  std::map<int, std::string> inputs;         // by stream number; in the panel any may be missing
  std::string output;                        // in the panel and in memory it may be empty
  const DataMode* mode = nullptr;            // null when none was chosen
  std::string format;                        // empty when none was chosen
  std::vector<std::string> creationOptions;  // NAME=VALUE
  Selection selection;                       // region and resolution
  std::vector<int> bands;                    // from 1, in the output's order; empty for all
  ElementRules elements;
  std::vector<std::string> openOptions;  // NAME=VALUE, of the inputs
  std::optional<double> outputNoData;    // the no-data value of the output
  std::string statisticsFile;            // "-" for standard output; empty for none
  bool overwrite = false;
  bool strict = false;                // a warning fails the run
  std::vector<std::string> warnings;  // of the command line, which the run gives
  std::optional<PartNumber> part;     // of the output; empty for all of it
};

// Rasters that a run reads in place of the files of its job, by stream number.
using InputDatasets = std::map<int, GDALDatasetUniquePtr>;

// How the caller of a run can stop it and follow its progress.
struct RunControl {
  std::stop_token stop;  // on a stop request the run throws Cancelled, with nothing published
  // Called on the run's thread with the share that is done, from 0 to 1, which never decreases.
  std::function<void(double share)> progress = [](double) {};
};

}  // namespace lumomixcalc::standalone
