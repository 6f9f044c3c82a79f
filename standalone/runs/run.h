#pragma once

#include <string>
#include <vector>

#include "standalone/framework/host_calls.h"
#include "standalone/rasters/grid.h"
#include "standalone/runs/job.h"
#include "standalone/runs/plan.h"
#include "standalone/runs/report.h"

namespace lumomixcalc::standalone {

// Runs the application once over the files of a job: plans, processes every band strip by strip,
// and publishes the output and the statistics file, if the job names one. The application must have
// its parameters, from the command line or from the panel. The command, which repeats the run, is
// stored in the output and the report. Throws Failure, Cancelled, Desisted. Then nothing is
// published, with one exception: if the complete statistics file cannot be renamed to its place,
// the output has already been published.
RunReport RunBatch(const Job& job, const std::string& command, HostState& host,
                   const RunControl& control);

// Checks all that RunBatch checks before it computes, and returns the plan. No file is made. A job
// without an output is checked for RunInMemory. Throws Failure, Desisted.
RunPlan CheckRun(const Job& job, const std::string& command, HostState& host);

// One band in memory.
struct MemoryRaster {
  OutputGrid grid;  // its size, and its position on the inputs
  bool complex = false;
  std::vector<float> values;  // grid.columns * grid.rows elements, row by row; pairs when complex
};

// Like RunBatch, but computes one band into memory: the first of job.bands, or band 1. Nothing is
// written or counted, whatever output the job names. Warnings and the application's messages are
// shown. Elements are not rounded to an integer mode. Throws Failure, Cancelled, Desisted.
MemoryRaster RunInMemory(const Job& job, HostState& host, const RunControl& control,
                         InputDatasets datasets = {});

}  // namespace lumomixcalc::standalone
