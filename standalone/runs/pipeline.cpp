#include "standalone/runs/pipeline.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <list>
#include <optional>
#include <stdexcept>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/runs/strip_channel.h"

namespace lumomixcalc::standalone {
namespace {

// Enough for one in work at either end of a channel and one between.
constexpr std::size_t kStripsPerChannel = 3;

struct Rows {
  int first = 0;
  int end = 0;
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

// The bands of an input in the order in which the run needs them, one that stays named once.
std::vector<int> BandSequence(const RunInput& input, const std::vector<int>& bands) {
  std::vector<int> sequence;
  for (const int band : bands)
    if (const int own = Session::BandOf(input, band); sequence.empty() || sequence.back() != own)
      sequence.push_back(own);
  return sequence;
}

// The next strip of a queue. Throws Cancelled when the run is asked to stop.
Strip Next(BoundedQueue<Strip>& queue, StripChannel& channel, const RunControl& control) {
  constexpr std::chrono::milliseconds kPatience(100);
  for (;;) {
    if (control.stop.stop_requested()) throw Cancelled();
    if (std::optional<Strip> strip = queue.PopFor(kPatience)) return std::move(*strip);
    if (!queue.IsExhausted()) continue;
    channel.Finish();  // throws what ended it
    throw std::logic_error("a channel of strips ended early");
  }
}

// One input, read ahead.
class InputStage {
 public:
  InputStage(Session& session, RunInput& input, const std::vector<Rows>& plan,
             std::size_t stripElements)
      : session_(session),
        input_(input),
        channel_(kStripsPerChannel,
                 stripElements * static_cast<std::size_t>(input.raster->Parts())) {
    channel_.Start([this, plan, bands = BandSequence(input, session.Bands())](
                       const std::stop_token&) { ReadAll(plan, bands); });
  }

  // Makes the rows of a band of the run what the application finds for this stream.
  void Provide(int band, const Rows& rows, const RunControl& control) {
    if (!held_ || held_->firstRow != rows.first || held_->band != Session::BandOf(input_, band)) {
      if (held_) channel_.empty.Push(std::move(*held_));
      held_ = Next(channel_.full, channel_, control);
    }
    session_.SetBlockData(input_.stream, held_->values.get());
  }

 private:
  void ReadAll(const std::vector<Rows>& plan, const std::vector<int>& bands) {
    const OwnGdalFailures own;
    for (const Rows& rows : plan)
      for (const int band : bands) {
        std::optional<Strip> strip = channel_.empty.Pop();
        if (!strip) return;
        strip->firstRow = rows.first;
        strip->rows = rows.end - rows.first;
        strip->band = band;
        input_.raster->Read(band, strip->firstRow, strip->rows, strip->values.get());
        if (!channel_.full.Push(std::move(*strip))) return;
      }
  }

  Session& session_;
  RunInput& input_;
  std::optional<Strip> held_;
  StripChannel channel_;  // last: its thread uses what stands above
};

// The sink, written behind. What it is given is counted on the same thread: the run's own has more
// to do.
class OutputStage {
 public:
  OutputStage(const Session& session, const StripSink& sink, std::size_t stripElements)
      : sink_(sink),
        columns_(session.Grid().columns),
        parts_(session.Mode().complex ? 2 : 1),
        valid_(session.Bands().size()),
        channel_(kStripsPerChannel, stripElements * static_cast<std::size_t>(parts_)) {
    channel_.Start([this](const std::stop_token&) { WriteAll(); });
  }

  Strip Empty(const RunControl& control) { return Next(channel_.empty, channel_, control); }
  void Write(Strip strip) { channel_.full.Push(std::move(strip)); }

  // Waits until everything is written. Returns the statistics of the valid elements, by band.
  const std::vector<ValidStatistics>& Finish(const RunControl& control) {
    for (std::size_t i = 0; i < kStripsPerChannel; ++i) Empty(control);
    channel_.full.Close();
    channel_.Finish();
    return valid_;
  }

 private:
  void WriteAll() {
    while (std::optional<Strip> strip = channel_.full.Pop()) {
      const auto bandIndex = static_cast<std::size_t>(strip->band) - 1;
      CountRows(strip->values.get(), columns_, strip->rows, parts_, valid_[bandIndex]);
      sink_.write(strip->band, strip->firstRow, strip->rows, strip->values.get());
      if (bandIndex + 1 == valid_.size()) sink_.flush(strip->firstRow + strip->rows);
      channel_.empty.Push(std::move(*strip));
    }
  }

  const StripSink& sink_;
  int columns_;
  int parts_;
  std::vector<ValidStatistics> valid_;
  StripChannel channel_;  // last: its thread uses what stands above
};

}  // namespace

std::vector<BandStatistics> ProcessStrips(Session& session, const StripSink& sink,
                                          const RunControl& control) {
  const OutputGrid& grid = session.Grid();
  const std::vector<int>& bands = session.Bands();
  const std::vector<Rows> plan = PlanStrips(session, sink);
  const auto stripElements =
      static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(session.RowsPerStrip());
  OutputStage output(session, sink, stripElements);
  std::list<InputStage> inputs;
  for (RunInput& input : session.Inputs()) inputs.emplace_back(session, input, plan, stripElements);

  std::vector<BandStatistics> statistics(bands.size());
  for (const Rows& rows : plan) {
    for (std::size_t i = 0; i < bands.size(); ++i) {
      for (InputStage& input : inputs) input.Provide(bands[i], rows, control);
      Strip strip = output.Empty(control);
      strip.firstRow = rows.first;
      strip.rows = rows.end - rows.first;
      strip.band = static_cast<int>(i) + 1;
      session.SetBlockData(session.OutputStream(), strip.values.get());
      session.Process(strip.rows, statistics[i].record);
      output.Write(std::move(strip));
    }
    control.progress(static_cast<double>(rows.end) / grid.rows);
  }
  const std::vector<ValidStatistics>& valid = output.Finish(control);
  for (std::size_t i = 0; i < bands.size(); ++i) statistics[i].valid = valid[i];
  return statistics;
}

}  // namespace lumomixcalc::standalone
