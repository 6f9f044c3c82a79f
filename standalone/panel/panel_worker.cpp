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

PanelWorker::PanelWorker(HostState& host, QObject& windows, Listener listener)
    : host_(host), windows_(windows), listener_(std::move(listener)) {
  thread_.setMaxThreadCount(1);
  thread_.setExpiryTimeout(-1);  // the same thread to the end
}

PanelWorker::~PanelWorker() {
  CancelRun();
  newestPreview_.request_stop();
  thread_.clear();
  thread_.waitForDone();
  ++handOvers;
}

void PanelWorker::Post(Task task) { thread_.start(HandedOver(std::move(task))); }

void PanelWorker::Deliver(Task task) {
  QMetaObject::invokeMethod(&windows_, HandedOver(std::move(task)), Qt::QueuedConnection);
}

void PanelWorker::Refresh(const Job& job, int band) {
  newestPreview_.request_stop();
  newestPreview_ = {};
  Post([this, job, band, stop = newestPreview_.get_token()] { MakePreview(job, band, stop); });
}

void PanelWorker::Run(const Job& job) {
  newestPreview_.request_stop();  // a preview would only delay the run
  run_ = {};
  Post([this, job, stop = run_.get_token()] {
    const RunEnd end = MakeRun(job, stop);
    Deliver([this, end] { listener_.runEnded(end); });
  });
}

void PanelWorker::MakePreview(const Job& job, int band, const std::stop_token& stop) {
  if (stop.stop_requested()) return;
  std::string command = Command(job);
  if (!command.empty()) {
    std::error_code ignored;
    const std::string& output = job.files.at(host_.registration.Output().number);
    if (job.overwrite || std::filesystem::exists(output, ignored)) command += " -overwrite";
  }
  Deliver([this, stop, command] {
    // Not when the settings have changed on its way: the command would be an old one.
    if (!stop.stop_requested()) listener_.commandChanged(command);
  });
  try {
    Preview preview = previews_.Make(job, band, host_, stop, [this](const std::string& warning) {
      if (warned_.insert(warning).second) Tell(warning);
    });
    Deliver([this, preview = std::move(preview)] { listener_.previewMade(preview); });
  } catch (const Cancelled&) {  // a newer one is wanted
  }
}

RunEnd PanelWorker::MakeRun(const Job& job, const std::stop_token& stop) {
  const MessageRedirection redirection([this](const std::string& message) { Tell(message); });
  const auto progress = [this](double share) {
    Deliver([this, share] { listener_.progressed(share); });
  };
  try {
    const RunReport report = RunBatch(job, Command(job), host_, {stop, progress});
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

std::string PanelWorker::Command(const Job& job) {
  if (!job.files.contains(host_.registration.Output().number) || job.files.size() < 2) return {};
  return ReproducingCommand(job, host_.registration, EchoOptions(host_));
}

void PanelWorker::Tell(const std::string& message) {
  Deliver([this, message] { listener_.told(message); });
}

}  // namespace lumomixcalc::standalone
