#include "standalone/runs/strip_processing.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <future>
#include <limits>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace {

// A thread that runs one task after another, which is far cheaper than a new thread per strip.
class Worker {
 public:
  Worker() : thread_([this](const std::stop_token& stop) { Work(stop); }) {}

  // The previous task must have ended. The future throws what the task threw.
  std::future<void> Start(std::packaged_task<void()> task) {
    std::future<void> end = task.get_future();
    const std::lock_guard lock(mutex_);
    task_ = std::move(task);
    changed_.notify_one();
    return end;
  }

 private:
  void Work(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (changed_.wait(lock, stop, [this] { return task_.valid(); })) {
      std::packaged_task<void()> task = std::exchange(task_, {});
      lock.unlock();
      task();
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::packaged_task<void()> task_;
  std::jthread thread_;  // the last member, because the thread uses the others
};

struct Rows {
  int first = 0;
  int end = 0;
};

// Whole rows of one band in memory: columns * rows elements at the beginning of values.
struct Strip {
  // The memory is not set to zero, because it is written before it is read.
  explicit Strip(std::size_t floats) : values(std::make_unique_for_overwrite<float[]>(floats)) {}

  int firstRow = -1;
  int rows = 0;
  int band = 0;
  bool holdsNan = false;  // set for inputs only
  std::unique_ptr<float[]> values;
};

// Strips end at boundaries between rows of blocks where possible: at those of the output, so that
// its blocks are complete, and at those of the inputs, so that no block of a file with several
// bands is decoded twice.
std::vector<Rows> PlanStrips(const Session& session, const StripSink& sink) {
  const int atMost = session.RowsPerStrip();
  const int rows = session.ProcessedGrid().rows;
  std::vector<Rows> plan;
  for (int row = 0; row < rows; row = plan.back().end) {
    int end = row + std::min(atMost, rows - row);
    if (const int blockEnd = end - end % sink.blockRows; blockEnd > row) end = blockEnd;
    for (const RunInput& input : session.Inputs()) end = input.raster->StripEnd(row, end);
    plan.push_back({row, end});
  }
  return plan;
}

// The bands of an input in the order in which the run needs them. A band that follows itself is
// read only once.
std::vector<int> BandSequence(const RunInput& input, const std::vector<int>& bands) {
  std::vector<int> sequence;
  for (const int band : bands)
    if (const int own = Session::BandOf(input, band); sequence.empty() || sequence.back() != own)
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
  ReadAhead(Session& session, const RunInput& input, const std::vector<Rows>& plan,
            std::size_t stripElements)
      : session_(session),
        input_(input),
        plan_(plan),
        bands_(BandSequence(input, session.Bands())),
        parts_(static_cast<std::size_t>(input.raster->Parts())),
        current_(stripElements * parts_),
        next_(stripElements * parts_) {
    StartReading();
  }

  // Points the stream's buffer at these rows of a band of the run.
  void PointStreamAt(const Rows& rows, int band) {
    if (current_.firstRow != rows.first || current_.band != Session::BandOf(input_, band)) {
      reading_.get();
      std::swap(current_, next_);
      StartReading();
    }
    session_.SetBlockData(input_.stream, current_.values.get());
  }

  // Sets output elements to NaN where the current input elements are no data.
  void SpreadNoData(std::size_t elements, std::size_t outputParts, float* output) const {
    if (!current_.holdsNan) return;
    const auto spread = parts_ == 1 ? (outputParts == 1 ? SpreadNan<1, 1> : SpreadNan<1, 2>)
                                    : (outputParts == 1 ? SpreadNan<2, 1> : SpreadNan<2, 2>);
    spread(current_.values.get(), elements, output);
  }

 private:
  void StartReading() {
    const std::size_t strip = step_ / bands_.size();
    if (strip == plan_.size()) return;
    const Rows& rows = plan_[strip];
    next_.firstRow = rows.first;
    next_.rows = rows.end - rows.first;
    next_.band = bands_[step_ % bands_.size()];
    ++step_;
    reading_ = worker_.Start(std::packaged_task<void()>([this] {
      input_.raster->Read(next_.band, next_.firstRow, next_.rows, next_.values.get());
      next_.holdsNan =
          session_.MasksNoData() &&
          HoldsNan(next_.values.get(), static_cast<std::size_t>(session_.ProcessedGrid().columns) *
                                           static_cast<std::size_t>(next_.rows) * parts_);
    }));
  }

  Session& session_;
  const RunInput& input_;
  const std::vector<Rows>& plan_;
  std::vector<int> bands_;
  std::size_t parts_;
  std::size_t step_ = 0;  // the number of reads started, one for each strip and band of bands_
  Strip current_;
  Strip next_;
  std::future<void> reading_;
  Worker worker_;  // the last member, because its thread uses the others
};

}  // namespace

std::vector<IPOutputStats> ProcessStrips(Session& session, const StripSink& sink,
                                         const RunControl& control) {
  const OutputGrid grid = session.ProcessedGrid();
  const std::vector<int>& bands = session.Bands();
  const std::vector<Rows> plan = PlanStrips(session, sink);
  const auto columns = static_cast<std::size_t>(grid.columns);
  const std::size_t stripElements = columns * static_cast<std::size_t>(session.RowsPerStrip());
  const auto outputParts = static_cast<std::size_t>(session.Mode().Parts());
  std::list<ReadAhead> inputs;
  for (const RunInput& input : session.Inputs())
    inputs.emplace_back(session, input, plan, stripElements);
  Strip result(stripElements * outputParts);
  Strip written(stripElements * outputParts);
  std::future<void> writing;  // of `written`, while the run works on `result`
  Worker writer;

  std::vector<IPOutputStats> records(bands.size(), BandStatistics().record);
  for (std::size_t strip = 0; strip < plan.size(); ++strip) {
    const Rows& rows = plan[strip];
    for (std::size_t i = 0; i < bands.size(); ++i) {
      if (control.stop.stop_requested()) throw Cancelled();
      for (ReadAhead& input : inputs) input.PointStreamAt(rows, bands[i]);
      sink.onInputs(rows.end - rows.first);
      result.firstRow = rows.first;
      result.rows = rows.end - rows.first;
      result.band = static_cast<int>(i) + 1;
      session.SetBlockData(session.OutputStream(), result.values.get());
      session.Process(result.rows, records[i]);
      for (const ReadAhead& input : inputs)
        input.SpreadNoData(columns * static_cast<std::size_t>(result.rows), outputParts,
                           result.values.get());
      if (writing.valid()) writing.get();
      std::swap(result, written);
      writing = writer.Start(std::packaged_task<void()>(
          [&] { sink.write(written.band, written.firstRow, written.rows, written.values.get()); }));
    }
    control.progress(static_cast<double>(rows.end) / grid.rows);
  }
  writing.get();
  return records;
}

}  // namespace lumomixcalc::standalone
