#include "standalone/runs/strip_processing.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <limits>
#include <list>
#include <memory>
#include <optional>
#include <semaphore>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

#include "host/im.h"
#include "standalone/base/messages.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/runs/looks.h"
#include "standalone/runs/session.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace {

// A thread that does the same work again and again, which is far cheaper than a new thread per
// strip.
class Worker {
 public:
  explicit Worker(std::function<void()> work)
      : work_(std::move(work)), thread_([this](const std::stop_token& stop) { Run(stop); }) {}

  ~Worker() {
    if (working_) end_.acquire();
    thread_.request_stop();
    start_.release();
  }

  // Starts the work once, which must not be under way.
  void Start() {
    working_ = true;
    start_.release();
  }

  // Waits for the end of the work if it was started. Throws what it threw.
  void Wait() {
    if (!std::exchange(working_, false)) return;
    end_.acquire();
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  void Run(const std::stop_token& stop) {
    for (start_.acquire(); !stop.stop_requested(); start_.acquire()) {
      try {
        work_();
      } catch (...) {
        failure_ = std::current_exception();
      }
      end_.release();
    }
  }

  std::function<void()> work_;
  std::binary_semaphore start_{0};
  std::binary_semaphore end_{0};
  bool working_ = false;
  std::exception_ptr failure_;
  std::jthread thread_;  // the last member, because the thread uses the others
};

struct Rows {
  int first = 0;
  int end = 0;

  int Count() const { return end - first; }
};

// Whole rows of one band in memory, at the beginning of values.
struct Strip {
  // The memory is not set to zero, because it is written before it is read.
  explicit Strip(std::size_t floats) : values(std::make_unique_for_overwrite<float[]>(floats)) {}

  Rows rows;
  int band = 0;           // 0 for none yet
  bool holdsNan = false;  // set for inputs only
  std::unique_ptr<float[]> values;
};

// Strips end at boundaries between rows of blocks where possible: at those of the output, so that
// its blocks are complete, and at those of the inputs, so that no block of a file with several
// bands is decoded twice.
std::vector<Rows> CutIntoStrips(const RunPlan& plan, const std::vector<RunInput>& inputs,
                                int blockRows) {
  const int atMost = RowsPerStrip(plan, inputs);
  const int rows = plan.grid.BeforeLooks().rows;
  blockRows = std::min(blockRows, plan.grid.rows) * plan.grid.looks.y;
  std::vector<Rows> strips;
  for (int row = 0; row < rows; row = strips.back().end) {
    int end = row + std::min(atMost, rows - row);
    if (const int blockEnd = end - end % blockRows; blockEnd > row) end = blockEnd;
    for (const RunInput& input : inputs) end = input.raster->StripEnd(row, end);
    strips.push_back({row, end});
  }
  return strips;
}

// The bands of an input in the order in which the run needs them. A band that follows itself is
// read only once.
std::vector<int> BandSequence(const RunInput& input, const std::vector<int>& bands) {
  std::vector<int> sequence;
  for (const int band : bands)
    if (const int own = input.BandFor(band); sequence.empty() || sequence.back() != own)
      sequence.push_back(own);
  return sequence;
}

bool HoldsNan(const float* values, std::size_t floats) {
  unsigned any = 0;  // the loop has no branch, so that it becomes vector instructions
  for (std::size_t i = 0; i < floats; ++i) any |= values[i] != values[i] ? 1U : 0U;
  return any != 0;
}

// Sets all parts of an output element to NaN where a part of the input element is NaN. A branch for
// each element would take longer than the arithmetic. Without one, these are vector instructions.
template <std::size_t kInputParts, std::size_t kOutputParts>
void SpreadNan(const float* x, std::size_t elements, float* y) {
  constexpr auto kNan = std::bit_cast<std::uint32_t>(std::numeric_limits<float>::quiet_NaN());
  for (std::size_t i = 0; i < elements; ++i, x += kInputParts, y += kOutputParts) {
    const std::uint32_t mask = std::isunordered(x[0], x[kInputParts - 1]) ? ~0U : 0U;
    const auto masked = [mask](float part) {
      return std::bit_cast<float>((std::bit_cast<std::uint32_t>(part) & ~mask) | (kNan & mask));
    };
    y[0] = masked(y[0]);
    if constexpr (kOutputParts == 2) y[1] = masked(y[1]);
  }
}

// Reads one input: while the run works on one strip, a thread reads the next.
class ReadAhead {
 public:
  ReadAhead(const RunPlan& plan, const RunInput& input, const std::vector<Rows>& strips,
            std::size_t stripElements)
      : plan_(plan),
        input_(input),
        strips_(strips),
        bands_(BandSequence(input, plan.bands)),
        parts_(static_cast<std::size_t>(input.raster->Parts())),
        rowFloats_(static_cast<std::size_t>(plan.grid.BeforeLooks().columns) * parts_),
        current_(stripElements * parts_),
        next_(stripElements * parts_) {
    StartReading();
  }

  // These rows of a band of the run. Valid until the next call.
  StreamRows Take(const Rows& rows, int band) {
    if (current_.rows.first != rows.first || current_.band != input_.BandFor(band)) {
      worker_.Wait();
      std::swap(current_, next_);
      StartReading();
    }
    return {input_.stream, current_.values.get(), rowFloats_};
  }

  // Sets output elements to NaN where the elements taken last are no data.
  void SpreadNoData(std::size_t elements, std::size_t outputParts, float* output) const {
    if (!current_.holdsNan) return;
    const auto spread = parts_ == 1 ? (outputParts == 1 ? SpreadNan<1, 1> : SpreadNan<1, 2>)
                                    : (outputParts == 1 ? SpreadNan<2, 1> : SpreadNan<2, 2>);
    spread(current_.values.get(), elements, output);
  }

 private:
  void StartReading() {
    const std::size_t strip = step_ / bands_.size();
    if (strip == strips_.size()) return;
    next_.rows = strips_[strip];
    next_.band = bands_[step_++ % bands_.size()];
    worker_.Start();
  }

  void Read() {
    const int rows = next_.rows.Count();
    input_.raster->Read(next_.band, next_.rows.first, rows, next_.values.get());
    next_.holdsNan = !plan_.elements.keepNoData &&
                     HoldsNan(next_.values.get(), rowFloats_ * static_cast<std::size_t>(rows));
  }

  const RunPlan& plan_;
  const RunInput& input_;
  const std::vector<Rows>& strips_;
  std::vector<int> bands_;
  std::size_t parts_;
  std::size_t rowFloats_;
  std::size_t step_ = 0;  // the number of reads started, one for each strip and band of bands_
  Strip current_;
  Strip next_;
  Worker worker_{[this] { Read(); }};  // the last member, because its thread uses the others
};

// Averages the results over looks and hands them to the sink: a thread does so with one strip while
// the run works on the next.
class WriteBehind {
 public:
  WriteBehind(const RunPlan& plan, RowSink& sink, std::size_t stripFloats)
      : looks_(plan.grid.looks),
        sink_(sink),
        averages_(plan.bands.size(), {looks_, plan.grid.columns, plan.mode->Parts()}),
        next_(stripFloats),
        written_(stripFloats) {}

  // Room for the results of the next strip.
  float* Room() { return next_.values.get(); }

  // Takes what is in the room now as rows of a band of the output, counted from 1.
  void Take(const Rows& rows, int band) {
    worker_.Wait();
    next_.rows = rows;
    next_.band = band;
    std::swap(next_, written_);
    worker_.Start();
  }

  // Waits until all is written. Throws what the sink threw.
  void Finish() { worker_.Wait(); }

 private:
  void Write() {
    const Rows& rows = written_.rows;
    LooksAverage& average = averages_[static_cast<std::size_t>(written_.band) - 1];
    const float* const values = average.Add(written_.values.get(), rows.Count()).data();
    const Rows complete = {rows.first / looks_.y, rows.end / looks_.y};
    if (complete.Count() > 0) sink_.Write(written_.band, complete.first, complete.Count(), values);
  }

  Looks looks_;
  RowSink& sink_;
  std::vector<LooksAverage> averages_;  // by band
  Strip next_;
  Strip written_;
  Worker worker_{[this] { Write(); }};  // the last member, because its thread uses the others
};

// Whether the results of the first rows of the streams, the output last, would have imaginary parts
// in a complex output. No other session may exist.
bool HaveImaginaryParts(HostState& host, std::vector<StreamRows> streams, int columns, int rows) {
  const auto elements = static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
  std::vector<float> results(2 * elements);
  streams.back().values = results.data();
  streams.back().rowFloats = 2 * static_cast<std::size_t>(columns);
  Session session(host, IM_MODE_COMPLEX_FLOAT);
  IPOutputStats ignored = {};
  session.Process(streams, columns, rows, ignored);
  return HasImaginaryPart(results.data(), elements);
}

}  // namespace

int RowsPerStrip(const RunPlan& plan, const std::vector<RunInput>& inputs) {
  constexpr std::int64_t kStripBytes = 2 << 20;
  constexpr std::int64_t kAllBandsBytes = 8 << 20;
  // A coarser pixel is computed from n * n pixels.
  const std::int64_t n = plan.grid.resolution;
  std::int64_t parts = plan.mode->Parts();
  for (const RunInput& input : inputs) parts += input.raster->Parts() * n * n;
  const OutputGrid grid = plan.grid.BeforeLooks();
  const std::int64_t rowBytes = parts * static_cast<std::int64_t>(sizeof(float)) * grid.columns;
  const std::int64_t rows =
      std::min(kStripBytes / rowBytes,
               kAllBandsBytes / (rowBytes * static_cast<std::int64_t>(plan.bands.size())));
  return static_cast<int>(std::clamp<std::int64_t>(rows, 1, grid.rows));
}

void ProcessStrips(const std::vector<RunInput>& inputs, HostState& host, RowSink& sink,
                   const RunControl& control, RunReport& report) {
  const RunPlan& plan = report.plan;
  const OutputGrid grid = plan.grid.BeforeLooks();
  const auto columns = static_cast<std::size_t>(grid.columns);
  const auto parts = static_cast<std::size_t>(plan.mode->Parts());
  const std::vector<Rows> strips = CutIntoStrips(plan, inputs, sink.BlockRows());
  const std::size_t stripElements = columns * static_cast<std::size_t>(RowsPerStrip(plan, inputs));
  std::list<ReadAhead> readers;
  for (const RunInput& input : inputs) readers.emplace_back(plan, input, strips, stripElements);
  WriteBehind writer(plan, sink, stripElements * parts);
  std::optional<Session> session(std::in_place, host, plan.mode->code);
  const bool mayLoseParts = plan.format.driver && !plan.mode->complex;
  for (const Rows& strip : strips) {
    const int rows = strip.Count();
    for (std::size_t i = 0; i < plan.bands.size(); ++i) {
      if (control.stop.stop_requested()) throw Cancelled();
      std::vector<StreamRows> streams;
      for (ReadAhead& reader : readers) streams.push_back(reader.Take(strip, plan.bands[i]));
      streams.push_back({host.registration.output.number, writer.Room(), columns * parts});
      if (mayLoseParts && !report.imaginaryParts) {
        session.reset();
        // Of the first strip all rows, for small images; of the others one, which costs little.
        report.imaginaryParts =
            HaveImaginaryParts(host, streams, grid.columns, strip.first == 0 ? rows : 1);
        session.emplace(host, plan.mode->code);
      }
      session->Process(streams, grid.columns, rows, report.bands[i].record);
      for (const ReadAhead& reader : readers)
        reader.SpreadNoData(columns * static_cast<std::size_t>(rows), parts, writer.Room());
      writer.Take(strip, static_cast<int>(i) + 1);
    }
    control.progress(static_cast<double>(strip.end) / grid.rows);
  }
  writer.Finish();
}

}  // namespace lumomixcalc::standalone
