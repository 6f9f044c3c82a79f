#pragma once

#include <list>
#include <memory>
#include <optional>
#include <vector>

#include "host/ip.h"
#include "standalone/framework/host_calls.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/grid.h"
#include "standalone/rasters/input_files.h"
#include "standalone/rasters/raster_input.h"
#include "standalone/runs/job.h"

namespace lumomixcalc::standalone {

// One input stream that a run reads.
struct RunInput {
  int stream = 0;
  std::unique_ptr<RasterInput> raster;
};

// The time between the application's preparation and its clean-up for one run over the inputs of a
// job. The session settles what the run computes: from which inputs and bands, in which mode, on
// which grid. The application must have its parameters. Only one session may exist at a time.
class Session {
 public:
  // Opens the inputs and has the application check and prepare. Throws Failure, and Desisted when
  // the application desists.
  Session(const Job& job, HostState& host, InputDatasets datasets = {});
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // The inputs that the application reads, at least one.
  const std::list<RunInput>& Inputs() const { return inputs_; }

  // All files of all inputs of the job, including headers and sources.
  const std::vector<InputFiles>& Files() const { return files_; }

  // Throws Failure when a file of an input changed since it was opened.
  void RefuseChangedInputs() const;

  // The mode in which the output is stored.
  const DataMode& Mode() const { return *mode_; }
  const OutputGrid& Grid() const { return grid_; }
  // The grid of the elements that are read and processed, before they are averaged over looks.
  OutputGrid ProcessedGrid() const { return grid_.BeforeLooks(); }

  // The bands of the inputs that the run reads, in the output's order. An input with one band is
  // combined with every band of the others.
  const std::vector<int>& Bands() const { return bands_; }

  // The band of an input that is read for a band of the run.
  static int BandOf(const RunInput& input, int band) {
    return input.raster->Bands() == 1 ? 1 : band;
  }

  // Whether what is no data in an input is no data in the output.
  bool MasksNoData() const { return !job_.elements.keepNoData; }

  // The no-data value that the user named, otherwise the first one that an input declares, or NaN
  // for an input that has a mask instead. None when there is neither, or when no-data values are
  // kept as numbers.
  std::optional<double> NoData() const;

  // Limits the grids to rows of the output, before SelectInputs.
  void LimitRows(int firstRow, int rows);

  int OutputStream() const { return host_.registration.output.number; }

  // The largest number of processed rows in a strip of the run, at least one. It is so small that
  // the strips in use stay in a processor's second-level cache, and that all bands of a strip fit
  // easily into memory.
  int RowsPerStrip() const;

  // Prepares the inputs for reading. Call it once, before they are read.
  void SelectInputs();

  // Sets the buffer that the application gets for a stream: whole rows of the processed grid.
  void SetBlockData(int stream, float* data) { host_.streams[stream].blockData = data; }

  // Has the application process so many rows of the buffers, each as a separate block: the
  // application counts the elements of some blocks from the last to the first, so the record
  // depends on the size of blocks. Throws Desisted.
  void Process(int rows, IPOutputStats& record);

  // Whether the results of the first rows in the inputs' buffers would have imaginary parts in a
  // complex output. Prepares the application for one, has it process the rows into another buffer,
  // and prepares it as before. For a real mode, with the inputs' buffers set. Throws Desisted.
  bool RowsHaveImaginaryParts(int rows);

  // Has the application clean up. Further calls do nothing.
  void Finish();

 private:
  void OpenInputs(InputDatasets& datasets);
  void Prepare(int outputMode);
  void DropUnreadInputs();
  void ChooseMode();
  void ChooseBandsAndGrid();
  void ProcessRow(IPOutputStats& record);
  void CleanUp();
  void StopIfDesisted() const;

  Job job_;
  HostState& host_;
  std::list<RunInput> inputs_;
  std::vector<InputFiles> files_;
  const DataMode* mode_ = nullptr;
  OutputGrid grid_;
  std::vector<int> bands_;
  bool prepared_ = false;
};

}  // namespace lumomixcalc::standalone
