#include "standalone/panel/panel_worker.h"

#include <atomic>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

#include "standalone/cli/command_echo.h"
#include "standalone/runs/run.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace {

// Qt orders what its threads do by locks that the thread sanitizer does not see. This counter shows
// it the same order: what is done before a hand-over happens before the task.
std::atomic<int> handOvers = 0;

PanelWorker::Task HandedOver(PanelWorker::Task task) {
  PanelWorker::Task ordered = [task = std::move(task)] {
    ++handOvers;
    task();
    ++handOvers;
  };
  ++handOvers;  // when the task is whole
  return ordered;
}

}  // namespace

PanelWorker::PanelWorker(HostState& host, Listener listener)
    : host_(host), listener_(std::move(listener)), previews_(host) {
  thread_.setMaxThreadCount(1);
  thread_.setExpiryTimeout(-1);  // the same thread to the end
}

PanelWorker::~PanelWorker() {
  CancelRun();
  preview_.request_stop();
  thread_.clear();
  thread_.waitForDone();
  ++handOvers;
}

void PanelWorker::Post(Task task) { thread_.start(HandedOver(std::move(task))); }

void PanelWorker::Deliver(Task task) { windows_.Put(std::move(task)); }

void PanelWorker::Ask(Newest& kind, Task task) {
  kind.next = std::move(task);
  if (!kind.busy) StartNext(kind);
}

void PanelWorker::StartNext(Newest& kind) {
  kind.busy = kind.next.has_value();
  if (!kind.busy) return;
  kind.sinceStart.start();
  Post([this, &kind, task = std::move(*kind.next)] {
    try {
      task();
    } catch (const Cancelled&) {  // a newer one is wanted
    } catch (const std::exception& error) {
      Tell(std::string("unexpected failure: ") + error.what());
    }
    Deliver([this, &kind] { StartNext(kind); });
  });
  kind.next.reset();
}

void PanelWorker::Refresh(const Job& job, const View& view) {
  // While an image is dragged, previews on the way are shown unless they are slow to read.
  constexpr int kSlowMs = 300;
  const bool slow = view != newestView_ && previewsAsked_.sinceStart.elapsed() > kSlowMs;
  if (slow || job.files != newestJob_.files || view.band != newestView_.band) {
    preview_.request_stop();
    preview_ = {};
  }
  newestJob_ = job;
  newestView_ = view;
  Ask(previewsAsked_,
      [this, job, view, stop = preview_.get_token()] { MakePreview(job, view, stop); });
}

void PanelWorker::Inspect(const Job& job, int band, QPoint pixel) {
  Ask(inspectionsAsked_, [this, job, band, pixel] {
    Deliver([this, found = previews_.Inspect(job, band, pixel)] { listener_.inspected(found); });
  });
}

void PanelWorker::Run(const Job& job) {
  preview_.request_stop();  // a preview would only delay the run
  preview_ = {};
  run_ = {};
  Post([this, job, stop = run_.get_token()] {
    const RunEnd end = MakeRun(job, stop);
    Deliver([this, end] { listener_.runEnded(end); });
  });
}

void PanelWorker::MakePreview(const Job& job, const View& view, const std::stop_token& stop) {
  if (stop.stop_requested()) return;
  std::string command = Command(job);
  if (!command.empty()) {
    std::error_code ignored;
    const std::string& output = job.files.at(host_.registration.Output().number);
    if (job.overwrite || std::filesystem::exists(output, ignored)) command += " -overwrite";
  }
  // Not when the settings have changed meanwhile: the command would be an old one.
  Deliver([this, command] {
    if (!previewsAsked_.next) listener_.commandChanged(command);
  });
  Findings findings =
      previews_.Make(job, view, stop, [this](std::size_t position, const PreviewImage& image) {
        Deliver([this, position, image] { listener_.imageMade(position, image); });
      });
  const std::optional<RunReport>& report = findings.report;
  if (report && ClampIsIdle(EchoOptions(host_), *FindDataMode(report->mode)))
    findings.warnings.emplace_back("A complex output is not clamped.");
  Deliver([this, findings] {
    if (!previewsAsked_.next) listener_.previewMade(findings);
  });
}

RunEnd PanelWorker::MakeRun(const Job& job, const std::stop_token& stop) {
  const MessageRedirection redirection([this](const std::string& message) { Tell(message); });
  const auto progress = [this](double share) {
    Deliver([this, share] { listener_.progressed(share); });
  };
  try {
    const Job ofTheRun = previews_.WithoutUnread(job);
    const RunReport report = RunBatch(ofTheRun, Command(job), host_, {stop, progress});
    for (std::size_t i = 0; i < report.bands.size(); ++i)
      Tell(StatisticsLine(static_cast<int>(i) + 1, report.bands[i]));
    return RunEnd::kDone;
  } catch (const Cancelled&) {
    return RunEnd::kCancelled;
  } catch (const Desisted&) {  // it has told the reason
  } catch (const Failure& failure) {
    Tell(failure.what());
  } catch (const std::exception& error) {
    Tell(std::string("unexpected failure: ") + error.what());
  }
  return RunEnd::kFailed;
}

std::string PanelWorker::Command(const Job& job) const {
  const Job ofTheRun = previews_.WithoutUnread(job);
  if (!ofTheRun.files.contains(host_.registration.Output().number) || ofTheRun.files.size() < 2)
    return {};
  return ReproducingCommand(ofTheRun, host_.registration, EchoOptions(host_));
}

void PanelWorker::Tell(const std::string& message) {
  Deliver([this, message] { listener_.told(message); });
}

}  // namespace lumomixcalc::standalone
