#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/grid.h"
#include "standalone/rasters/input_files.h"
#include "standalone/rasters/output_format.h"
#include "standalone/rasters/raster_input.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// What a run will do. Nothing changes it after PlanRun.
struct RunPlan {
  std::string command;             // repeats the run
  std::string output;              // the file's name; empty for a run in memory
  OutputFormat format;             // without a driver for a run in memory
  const DataMode* mode = nullptr;  // in which the output is stored
  bool modeAsked = false;          // by the user; otherwise it follows the inputs
  PixelWindow area;                // the pixels of the first input read that all inputs read have
  OutputGrid grid;                 // on the pixels of the first input read
  // Where the top left pixels of the inputs read lie on those of the first one, by stream number.
  std::map<int, PixelPosition> origins;
  std::vector<int> bands;  // of the inputs, in the output's order
  Resampling resampling = Resampling::kNearest;
  ElementRules elements;
  std::optional<double> noData;  // of the output; none when no element can be no data
};

// One input that a run reads.
struct RunInput {
  int stream = 0;
  std::unique_ptr<RasterInput> raster;

  // The band that is read for a band of the run. An input with one band is combined with every band
  // of the others.
  int BandFor(int band) const { return raster->Bands() == 1 ? 1 : band; }

  // Those for these bands of the run, in the order in which it needs them. A band that follows
  // itself is read only once.
  std::vector<int> BandsFor(const std::vector<int>& bands) const;
};

struct PlannedRun {
  RunPlan plan;
  std::vector<RunInput> inputs;   // those that the application reads, open: at least one
  std::vector<InputFiles> files;  // of all inputs of the job, including headers and sources
};

// Opens the inputs of a job, or takes the datasets in their place, has the application check its
// parameters, and settles what the run does. The application must have its parameters. Afterwards
// the host's streams are as a session of the run needs them. Throws Failure, and Desisted when the
// application desists.
PlannedRun PlanRun(const Job& job, const std::string& command, HostState& host,
                   InputDatasets datasets = {});

// Prepares the inputs for reading what the plan needs. Throws Failure.
void SelectInputs(const RunPlan& plan, const std::vector<RunInput>& inputs);

}  // namespace lumomixcalc::standalone
