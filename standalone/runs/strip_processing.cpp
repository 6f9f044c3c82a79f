#include "standalone/runs/strip_processing.h"

#include <algorithm>
#include <array>
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
#include <span>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

#include "host/im.h"
#include "standalone/base/messages.h"
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

// Whole rows of one band in memory.
struct Strip {
  // The memory is not set to zero, because it is written before it is read.
  explicit Strip(const Elements& size)
      : memory(std::make_unique_for_overwrite<float[]>(size.Floats())), elements(size) {
    elements.values = memory.get();
  }

  // Makes it the room for these rows of a band.
  void Hold(const Rows& rows, int ofBand) {
    first = rows.first;
    elements.rows = rows.Count();
    band = ofBand;
  }

  std::unique_ptr<float[]> memory;
  Elements elements;
  int first = 0;
  int band = 0;           // 0 for none yet
  bool holdsNan = false;  // set for inputs only
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
  // size is that of the largest strip of the results.
  ReadAhead(const RunPlan& plan, const RunInput& input, const std::vector<Rows>& strips,
            Elements size)
      : plan_(plan),
        input_(input),
        strips_(strips),
        bands_(input.BandsFor(plan.bands)),
        current_({nullptr, size.columns, size.rows, input.raster->Parts()}),
        next_(current_.elements) {
    StartReading();
  }

  // These rows of a band of the run. Valid until the next call.
  StreamRows Take(const Rows& rows, int band) {
    if (current_.first != rows.first || current_.band != input_.BandFor(band)) {
      worker_.Wait();
      std::swap(current_, next_);
      StartReading();
    }
    return {input_.stream, current_.elements};
  }

  // Sets results to NaN where the elements taken last are no data.
  void SpreadNoData(const Elements& results) const {
    if (!current_.holdsNan) return;
    const bool isReal = results.parts == 1;
    const auto spread = current_.elements.parts == 1 ? (isReal ? SpreadNan<1, 1> : SpreadNan<1, 2>)
                                                     : (isReal ? SpreadNan<2, 1> : SpreadNan<2, 2>);
    spread(current_.elements.values, results.Count(), results.values);
  }

 private:
  void StartReading() {
    const std::size_t strip = step_ / bands_.size();
    if (strip == strips_.size()) return;
    next_.Hold(strips_[strip], bands_[step_++ % bands_.size()]);
    worker_.Start();
  }

  void Read() {
    const Elements& elements = next_.elements;
    input_.raster->Read(next_.band, next_.first, elements.rows, elements.values);
    next_.holdsNan = !plan_.elements.keepNoData && HoldsNan(elements.All());
  }

  const RunPlan& plan_;
  const RunInput& input_;
  const std::vector<Rows>& strips_;
  std::vector<int> bands_;
  std::size_t step_ = 0;  // the number of reads started, one for each strip and band of bands_
  Strip current_;
  Strip next_;
  Worker worker_{[this] { Read(); }};  // the last member, because its thread uses the others
};

// Adds the valid elements of a row to the sums and counts of their columns. Unlike a sum along the
// row, compilers turn this into vector instructions.
template <std::size_t kParts>
void AddToColumns(const float* values, std::vector<double>& sums,
                  std::vector<std::int32_t>& counts) {
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const float* const element = values + i * kParts;
    const bool isValid = element[0] == element[0] && element[kParts - 1] == element[kParts - 1];
    counts[i] += isValid ? 1 : 0;
    for (std::size_t part = 0; part < kParts; ++part)
      sums[i * kParts + part] += isValid ? static_cast<double>(element[part]) : 0.0;
  }
}

// Averages the results of a band over blocks of looks.x columns and looks.y rows. The average is
// the sum of the block's valid elements in double precision, column after column, divided by their
// count, or NaN when there is none. Both parts of complex elements are averaged; an element with a
// NaN in either part is not valid. The bits do not depend on how many rows each call of Add brings.
class LooksAverage {
 public:
  LooksAverage(const Looks& looks, const Elements& row)
      : looks_(looks), counts_(row.Count()), sums_(row.Floats()) {}

  // Adds whole rows of results. Returns the rows of the output that are now complete. They are
  // valid until the next call. With 1 x 1 looks these are the results.
  ConstElements Add(const Elements& results) {
    if (looks_ == Looks()) return {results.values, results.columns, results.rows, results.parts};
    averages_.clear();
    int complete = 0;
    for (int row = 0; row < results.rows; ++row) {
      const auto add = results.parts == 1 ? AddToColumns<1> : AddToColumns<2>;
      add(results.Row(row).values, sums_, counts_);
      if (++rowsAdded_ != looks_.y) continue;
      CompleteRow();
      ++complete;
    }
    return {averages_.data(), results.columns / looks_.x, complete, results.parts};
  }

 private:
  void CompleteRow() {
    const auto looks = static_cast<std::size_t>(looks_.x);
    const std::size_t parts = sums_.size() / counts_.size();
    for (std::size_t first = 0; first < counts_.size(); first += looks) {
      std::int64_t count = 0;
      std::array<double, 2> sums = {};
      for (std::size_t i = first; i < first + looks; ++i) {
        count += counts_[i];
        for (std::size_t part = 0; part < parts; ++part) sums[part] += sums_[i * parts + part];
      }
      for (std::size_t part = 0; part < parts; ++part)
        averages_.push_back(count > 0 ? static_cast<float>(sums[part] / static_cast<double>(count))
                                      : std::numeric_limits<float>::quiet_NaN());
    }
    std::ranges::fill(sums_, 0.0);
    std::ranges::fill(counts_, 0);
    rowsAdded_ = 0;
  }

  Looks looks_;
  int rowsAdded_ = 0;  // to the current row of the output
  // For each column of the results: the number of valid elements, and their sums by part.
  std::vector<std::int32_t> counts_;
  std::vector<double> sums_;
  std::vector<float> averages_;
};

// Averages the results over looks and hands them to the sink: a thread does so with one strip while
// the run works on the next.
class WriteBehind {
 public:
  // size is that of the largest strip of the results.
  WriteBehind(const RunPlan& plan, const RowSink& sink, const Elements& size)
      : looks_(plan.grid.looks),
        sink_(sink),
        averages_(plan.bands.size(), {looks_, {nullptr, size.columns, 1, size.parts}}),
        next_(size),
        written_(size) {}

  // Room for the results of these rows of a band of the output, counted from 1.
  const Elements& Room(const Rows& rows, int band) {
    next_.Hold(rows, band);
    return next_.elements;
  }

  // Takes what is in the room now.
  void Take() {
    worker_.Wait();
    std::swap(next_, written_);
    worker_.Start();
  }

  // Waits until all is written. Throws what the sink threw.
  void Finish() { worker_.Wait(); }

 private:
  void Write() {
    LooksAverage& average = averages_[static_cast<std::size_t>(written_.band) - 1];
    const ConstElements complete = average.Add(written_.elements);
    if (complete.rows > 0) sink_(written_.band, written_.first / looks_.y, complete);
  }

  Looks looks_;
  const RowSink& sink_;
  std::vector<LooksAverage> averages_;  // by band
  Strip next_;
  Strip written_;
  Worker worker_{[this] { Write(); }};  // the last member, because its thread uses the others
};

// Whether the results of the first rows of the streams, the output last, would have imaginary parts
// in a complex output. No other session may exist.
bool HaveImaginaryParts(HostState& host, std::vector<StreamRows> streams, int rows) {
  for (StreamRows& stream : streams) stream.elements.rows = rows;
  Elements& results = streams.back().elements;
  results.parts = 2;
  std::vector<float> memory(results.Floats());
  results.values = memory.data();
  Session session(host, IM_MODE_COMPLEX_FLOAT);
  IPOutputStats ignored = {};
  session.Process(streams, ignored);
  // In complex arithmetic, the square of a negative number has an imaginary part of rounding
  // errors. A small one of a complex input is the user's.
  const bool ofReal =
      std::ranges::all_of(std::span(streams).first(streams.size() - 1),
                          [](const StreamRows& input) { return input.elements.parts == 1; });
  constexpr float kRounding = 1e-5F;
  return HasImaginaryPart({memory.data(), results.columns, rows, 2}, ofReal ? kRounding : 0);
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

void ProcessStrips(const std::vector<RunInput>& inputs, HostState& host, int blockRows,
                   const RowSink& sink, const RunControl& control, RunReport& report) {
  const RunPlan& plan = report.plan;
  const OutputGrid grid = plan.grid.BeforeLooks();
  const std::vector<Rows> strips = CutIntoStrips(plan, inputs, blockRows);
  const Elements largest = {nullptr, grid.columns, RowsPerStrip(plan, inputs), plan.mode->Parts()};
  std::list<ReadAhead> readers;
  for (const RunInput& input : inputs) readers.emplace_back(plan, input, strips, largest);
  WriteBehind writer(plan, sink, largest);
  std::optional<Session> session(std::in_place, host, plan.mode->code);
  const bool mayLoseParts = plan.format.driver && !plan.mode->complex;
  for (const Rows& strip : strips) {
    for (std::size_t i = 0; i < plan.bands.size(); ++i) {
      if (control.stop.stop_requested()) throw Cancelled();
      const Elements& results = writer.Room(strip, static_cast<int>(i) + 1);
      std::vector<StreamRows> streams;
      for (ReadAhead& reader : readers) streams.push_back(reader.Take(strip, plan.bands[i]));
      streams.push_back({host.registration.output.number, results});
      if (mayLoseParts && !report.imaginaryParts) {
        session.reset();
        // Of the first strip all rows, for small images; of the others one, which costs little.
        report.imaginaryParts =
            HaveImaginaryParts(host, streams, strip.first == 0 ? results.rows : 1);
        session.emplace(host, plan.mode->code);
      }
      session->Process(streams, report.bands[i].record);
      for (const ReadAhead& reader : readers) reader.SpreadNoData(results);
      writer.Take();
    }
    control.progress(static_cast<double>(strip.end) / grid.rows);
  }
  writer.Finish();
}

}  // namespace lumomixcalc::standalone
