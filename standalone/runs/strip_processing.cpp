#include "standalone/runs/strip_processing.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <limits>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/rasters/gdal_library.h"

namespace lumomixcalc::standalone {
namespace {

// Enough for one in work at either end of a channel and one between.
constexpr int kStripsPerChannel = 3;

struct Rows {
  int first = 0;
  int end = 0;
};

// Whole rows of one band in memory: columns * rows elements at the beginning of values.
struct Strip {
  int firstRow = 0;
  int rows = 0;
  int band = 0;
  bool holdsNan = false;  // known of inputs alone
  std::unique_ptr<float[]> values;
};

// A handful of strips that go full from one thread to another and come back empty, so that memory
// is touched once. One end is the run's thread, the other a thread of the channel's own.
class StripChannel {
 public:
  enum Way { kEmpty, kFull };

  explicit StripChannel(std::size_t floatsPerStrip) {
    for (int i = 0; i < kStripsPerChannel; ++i)
      // Not set to zero: whoever fills it first touches the memory.
      strips_[kEmpty].push_back(
          {.values = std::make_unique_for_overwrite<float[]>(floatsPerStrip)});
  }

  // Runs work on the channel's own thread, which is asked to stop when the channel is destroyed.
  template <class Work>
  void Start(Work work) {
    thread_ = std::jthread([this, work](const std::stop_token& stop) {
      try {
        work(stop);
      } catch (...) {
        error_ = std::current_exception();
      }
      Close();
    });
  }

  void Put(Way way, Strip strip) {
    const std::lock_guard lock(mutex_);
    strips_[way].push_back(std::move(strip));
    changed_.notify_all();
  }

  // Waits for a strip. None when asked to stop, or when none is left and the channel is closed.
  std::optional<Strip> Take(Way way, const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    std::deque<Strip>& strips = strips_[way];
    changed_.wait(lock, stop, [&] { return closed_ || !strips.empty(); });
    if (stop.stop_requested() || strips.empty()) return std::nullopt;
    std::optional<Strip> strip(std::move(strips.front()));
    strips.pop_front();
    return strip;
  }

  // The same on the run's thread. Throws Cancelled, and what ended the other thread.
  Strip Take(Way way, const RunControl& control) {
    if (std::optional<Strip> strip = Take(way, control.stop)) return std::move(*strip);
    if (control.stop.stop_requested()) throw Cancelled();
    Finish();
    throw std::logic_error("a channel of strips ended early");
  }

  // Lets the thread end, waits for it and throws what it threw.
  void Finish() {
    Close();
    thread_.join();
    if (error_) std::rethrow_exception(error_);
  }

 private:
  void Close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::deque<Strip> strips_[2];
  bool closed_ = false;
  std::exception_ptr error_;  // written by the thread, read after it ended
  std::jthread thread_;       // last: it uses what stands above
};

// Strips end with rows of blocks of the output, so that these are complete, and of the inputs, so
// that of several bands no block is decoded twice.
std::vector<Rows> PlanStrips(const Session& session, const StripSink& sink) {
  const int atMost = session.RowsPerStrip();
  const int rows = session.Grid().rows;
  std::vector<Rows> plan;
  for (int row = 0; row < rows; row = plan.back().end) {
    int end = row + std::min(atMost, rows - row);
    if (const int blockEnd = end - end % sink.blockRows; blockEnd > row) end = blockEnd;
    for (const RunInput& input : session.Inputs()) end = input.raster->StripEnd(row, end);
    plan.push_back({row, end});
  }
  return plan;
}

// The bands of an input in the order in which the run needs them; one that comes several times in a
// row is read once.
std::vector<int> BandSequence(const RunInput& input, const std::vector<int>& bands) {
  std::vector<int> sequence;
  for (const int band : bands)
    if (const int own = Session::BandOf(input, band); sequence.empty() || sequence.back() != own)
      sequence.push_back(own);
  return sequence;
}

bool HoldsNan(const float* values, std::size_t floats) {
  constexpr std::size_t kHalf = 2048;
  std::size_t i = 0;
  for (; i + 2 * kHalf <= floats; i += 2 * kHalf) {
    unsigned any = 0;  // two elements an instruction, and no branch
    for (std::size_t k = i; k < i + kHalf; ++k)
      any |= std::isunordered(values[k], values[k + kHalf]) ? 1U : 0U;
    if (any != 0) return true;
  }
  return std::any_of(values + i, values + floats, [](float value) { return std::isnan(value); });
}

// Makes elements of out NaN, in both parts, where those of in are NaN in either part.
template <std::size_t kInParts, std::size_t kOutParts>
void SpreadNan(const float* in, std::size_t elements, float* out) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  for (std::size_t i = 0; i < elements; ++i) {
    const float first = in[i * kInParts];
    const float last = in[i * kInParts + kInParts - 1];
    const bool noData = first != first || last != last;
    for (std::size_t part = 0; part < kOutParts; ++part)
      out[i * kOutParts + part] = noData ? kNan : out[i * kOutParts + part];
  }
}

// One input, read ahead.
class ReadAhead {
 public:
  ReadAhead(Session& session, RunInput& input, const std::vector<Rows>& plan,
            std::size_t stripElements)
      : session_(session),
        input_(input),
        parts_(static_cast<std::size_t>(input.raster->Parts())),
        channel_(stripElements * parts_) {
    channel_.Start([this, &plan, bands = BandSequence(input, session.Bands())](
                       const std::stop_token& stop) { ReadAll(plan, bands, stop); });
  }

  // Points the stream's buffer at these rows of a band of the run.
  void PointStreamAt(const Rows& rows, int band, const RunControl& control) {
    if (!held_ || held_->firstRow != rows.first || held_->band != Session::BandOf(input_, band)) {
      if (held_) channel_.Put(StripChannel::kEmpty, std::move(*held_));
      held_ = channel_.Take(StripChannel::kFull, control);
    }
    session_.SetBlockData(input_.stream, held_->values.get());
  }

  // Makes elements of the output NaN that are no data in the rows that the stream points at.
  void SpreadNoData(std::size_t elements, bool complexOutput, float* output) const {
    if (!held_->holdsNan) return;
    const auto spread = parts_ == 1 ? (complexOutput ? SpreadNan<1, 2> : SpreadNan<1, 1>)
                                    : (complexOutput ? SpreadNan<2, 2> : SpreadNan<2, 1>);
    spread(held_->values.get(), elements, output);
  }

 private:
  void ReadAll(const std::vector<Rows>& plan, const std::vector<int>& bands,
               const std::stop_token& stop) {
    const OwnGdalFailures own;
    const auto columns = static_cast<std::size_t>(session_.Grid().columns);
    for (const Rows& rows : plan)
      for (const int band : bands) {
        std::optional<Strip> strip = channel_.Take(StripChannel::kEmpty, stop);
        if (!strip) return;
        strip->firstRow = rows.first;
        strip->rows = rows.end - rows.first;
        strip->band = band;
        float* const values = strip->values.get();
        input_.raster->Read(band, rows.first, strip->rows, values);
        const std::size_t floats = columns * static_cast<std::size_t>(strip->rows) * parts_;
        strip->holdsNan = session_.MasksNoData() && HoldsNan(values, floats);
        channel_.Put(StripChannel::kFull, std::move(*strip));
      }
  }

  Session& session_;
  RunInput& input_;
  std::size_t parts_;
  std::optional<Strip> held_;
  StripChannel channel_;  // last: its thread uses what stands above
};

// The sink, written behind.
class WriteBehind {
 public:
  WriteBehind(const StripSink& sink, std::size_t floatsPerStrip)
      : sink_(sink), channel_(floatsPerStrip) {
    channel_.Start([this](const std::stop_token& stop) { WriteAll(stop); });
  }

  Strip TakeEmpty(const RunControl& control) {
    return channel_.Take(StripChannel::kEmpty, control);
  }
  void Write(Strip strip) { channel_.Put(StripChannel::kFull, std::move(strip)); }

  // Waits until everything is written.
  void Finish(const RunControl& control) {
    for (int i = 0; i < kStripsPerChannel; ++i) TakeEmpty(control);
    channel_.Finish();
  }

 private:
  void WriteAll(const std::stop_token& stop) {
    while (std::optional<Strip> strip = channel_.Take(StripChannel::kFull, stop)) {
      sink_.write(strip->band, strip->firstRow, strip->rows, strip->values.get());
      channel_.Put(StripChannel::kEmpty, std::move(*strip));
    }
  }

  const StripSink& sink_;
  StripChannel channel_;  // last: its thread uses what stands above
};

}  // namespace

std::vector<IPOutputStats> ProcessStrips(Session& session, const StripSink& sink,
                                         const RunControl& control) {
  const OutputGrid& grid = session.Grid();
  const std::vector<int>& bands = session.Bands();
  const std::vector<Rows> plan = PlanStrips(session, sink);
  const auto columns = static_cast<std::size_t>(grid.columns);
  const std::size_t stripElements = columns * static_cast<std::size_t>(session.RowsPerStrip());
  const bool complex = session.Mode().complex;
  WriteBehind output(sink, stripElements * (complex ? 2 : 1));
  std::list<ReadAhead> inputs;
  for (RunInput& input : session.Inputs()) inputs.emplace_back(session, input, plan, stripElements);

  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  std::vector<IPOutputStats> records(bands.size(), {kInfinity, -kInfinity, 0});
  for (std::size_t strip = 0; strip < plan.size(); ++strip) {
    const Rows& rows = plan[strip];
    for (std::size_t i = 0; i < bands.size(); ++i) {
      for (ReadAhead& input : inputs) input.PointStreamAt(rows, bands[i], control);
      if (i == 0 && strip == plan.size() / 2) sink.atMiddleRow();
      Strip result = output.TakeEmpty(control);
      result.firstRow = rows.first;
      result.rows = rows.end - rows.first;
      result.band = static_cast<int>(i) + 1;
      session.SetBlockData(session.OutputStream(), result.values.get());
      session.Process(result.rows, records[i]);
      for (const ReadAhead& input : inputs)
        input.SpreadNoData(columns * static_cast<std::size_t>(result.rows), complex,
                           result.values.get());
      output.Write(std::move(result));
    }
    control.progress(static_cast<double>(rows.end) / grid.rows);
  }
  output.Finish(control);
  return records;
}

}  // namespace lumomixcalc::standalone
