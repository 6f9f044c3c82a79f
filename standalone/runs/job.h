#pragma once

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

// The part of an output that a run makes: number, from 1, of count bands of rows.
struct PartNumber {
  int number = 0;
  int count = 0;
};

// What a run is to do with which files, as the user asks for it.
struct Job {
  std::map<int, std::string> files;          // by stream number: one input or more, and the output;
                                             // for a panel, any of them or none
  const DataMode* mode = nullptr;            // null when none was chosen
  std::string format;                        // empty when none was chosen
  std::vector<std::string> creationOptions;  // NAME=VALUE
  Selection selection;                       // region and resolution
  std::vector<int> bands;                    // from 1, in the output's order; empty for all
  ElementRules elements;
  std::vector<std::string> openOptions;  // NAME=VALUE, of the inputs
  std::optional<double> outputNoData;    // what stands for no data in the output
  std::string statisticsFile;            // "-" for standard output; empty for none
  bool overwrite = false;
  bool checkOnly = false;          // nothing is computed, no file is made
  std::optional<PartNumber> part;  // of the output; empty for all of it
};

// What whoever started a run may ask of it and learns of it.
struct RunControl {
  std::stop_token stop;  // a run that is asked to stop throws Cancelled, with nothing published
  // Called on the run's thread with the share that is done, from 0 to 1, never falling.
  std::function<void(double share)> progress = [](double) {};
};

}  // namespace lumomixcalc::standalone
