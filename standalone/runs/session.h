#pragma once

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/ip.h"
#include "standalone/framework/host_calls.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/grid.h"
#include "standalone/rasters/publication.h"
#include "standalone/rasters/raster_input.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// One input stream that a run reads.
struct RunInput {
  int stream = 0;
  std::unique_ptr<RasterInput> raster;
};

// The application between its preparation and its clean-up, for one run over the inputs of job,
// and what follows from them: what the run computes, in which mode, on which grid. The application
// must have its parameters. Only one session may live at a time.
class Session {
 public:
  // Opens the inputs and has the application check and prepare. Throws Failure, and Desisted when
  // the application desists.
  Session(const Job& job, HostState& host);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // The inputs that the application reads; at least one.
  std::list<RunInput>& Inputs() { return inputs_; }
  const std::list<RunInput>& Inputs() const { return inputs_; }
  RasterInput& FirstInput() { return *inputs_.front().raster; }

  // The files of all inputs of the job, those that belong to them (headers, sources) included.
  const std::vector<InputFiles>& Files() const { return files_; }

  // The mode in which the output is stored.
  const DataMode& Mode() const { return *mode_; }
  const OutputGrid& Grid() const { return grid_; }
  // The grid of what is read and processed: the output's before looks are averaged.
  const OutputGrid& ProcessedGrid() const { return processedGrid_; }

  // The bands of the inputs that the run takes, in the output's order. An input with one band goes
  // with every band of the others.
  const std::vector<int>& Bands() const { return bands_; }

  // The band of an input that goes with a band of the run.
  static int BandOf(const RunInput& input, int band) {
    return input.raster->Bands() == 1 ? 1 : band;
  }

  // Whether what is no data in an input is no data in the output.
  bool MasksNoData() const { return !rules_.keepNoData; }

  // The no-data value that the user names, or that the first input to declare one declares; NaN
  // when only masks tell; none when nothing does or no-data values are kept as numbers.
  const std::optional<double>& NoData() const { return noData_; }

  // Limits the grids to rows of the output, before SelectInputs.
  void LimitRows(int firstRow, int rows);

  int OutputStream() const { return host_.registration.Output().number; }

  // Processed rows that a strip of the run has at most: few enough that the strips in work stay in
  // a processor's second-level cache, and that all bands of a strip fit easily into memory; at
  // least one.
  int RowsPerStrip() const;

  // Prepares the inputs for reading; call it once, before they are read.
  void SelectInputs();

  // The buffer that the application finds for a stream from now on: whole rows of
  // the processed grid.
  void SetBlockData(int stream, float* data) { host_.streams[stream].blockData = data; }

  // Has the application process so many rows of the buffers, each as a block of its own: it counts
  // some blocks from their last element to the first, so that blocks of other sizes would make
  // another record. Throws Desisted.
  void Process(int rows, IPOutputStats& record);

  // Whether the results of the row at hand would have imaginary parts in a complex output. Has the
  // application prepare for one, process the row into a buffer of its own, and prepare as before.
  // For a real mode, with the inputs' buffers set. Throws Desisted.
  bool RowHasImaginaryParts();

  // Has the application clean up; once is enough.
  void Finish();

 private:
  void OpenInputs(const Job& job);
  void Prepare(int outputMode);
  void DropUnreadInputs();
  void ChooseMode(const Job& job);
  void ChooseBandsAndGrid(const Job& job);
  void ChooseNoData(const Job& job);
  void ProcessRow(IPOutputStats& record);
  void CleanUp();
  void StopIfDesisted() const;

  HostState& host_;
  std::list<RunInput> inputs_;
  std::vector<InputFiles> files_;
  const DataMode* mode_ = nullptr;
  OutputGrid grid_;
  OutputGrid processedGrid_;
  Resampling resampling_ = Resampling::kNearest;
  std::vector<int> bands_;
  std::optional<double> noData_;
  ElementRules rules_;
  bool prepared_ = false;
};

}  // namespace lumomixcalc::standalone
