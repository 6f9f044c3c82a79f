#include "standalone/panel/panel_worker.h"

#include <QFileInfo>
#include <exception>
#include <set>
#include <utility>
#include <vector>

#include "standalone/cli/options.h"
#include "standalone/panel/panel_command.h"
#include "standalone/runs/run.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {

PanelWorker::PanelWorker(HostState& host, Listener listener)
    : host_(host), listener_(std::move(listener)), previews_(host) {
  sinceStart_.start();
  thread_.setMaxThreadCount(1);
  thread_.setExpiryTimeout(-1);  // the same thread to the end
}

PanelWorker::~PanelWorker() {
  CancelRun();
  preview_.request_stop();
  thread_.clear();
}

void PanelWorker::Post(Task task) {
  thread_.start([this, task = std::move(task)] {
    try {
      task();
    } catch (const Cancelled&) {  // a newer preview is wanted
    } catch (const std::exception& error) {
      Tell(std::string("unexpected failure: ") + error.what());
    }
  });
}

void PanelWorker::Deliver(Task task) {
  QMetaObject::invokeMethod(&windows_, std::move(task), Qt::QueuedConnection);
}

void PanelWorker::Refresh(const Job& job, const View& view) {
  // While an image is dragged, previews on the way are shown unless they are slow to read.
  constexpr int kSlowMs = 300;
  const bool slow = view != newestView_ && sinceStart_.hasExpired(kSlowMs);
  if (slow || job.inputs != newestInputs_ || view.band != newestView_.band)
    std::exchange(preview_, {}).request_stop();
  newestInputs_ = job.inputs;
  newestView_ = view;
  Post([this, job, view, number = ++newestPreview_, stop = preview_.get_token()] {
    if (number == newestPreview_) MakePreview(job, view, number, stop);
  });
}

void PanelWorker::Inspect(QPoint pixel) {
  Post([this, pixel, number = ++newestInspection_] {
    if (number != newestInspection_) return;
    Deliver([this, found = previews_.Inspect(pixel)] { listener_.inspected(found); });
  });
}

void PanelWorker::Run(const Job& job) {
  std::exchange(preview_, {}).request_stop();  // a preview would only delay the run
  run_ = {};
  Post([this, job, stop = run_.get_token()] {
    const RunEnd end = MakeRun(job, stop);
    Deliver([this, end] { listener_.runEnded(end); });
  });
}

void PanelWorker::MakePreview(const Job& job, const View& view, int number,
                              const std::stop_token& stop) {
  if (stop.stop_requested()) return;
  Deliver([this] { sinceStart_.start(); });
  const std::set<int> inputs = InputsRead(host_);
  const Job ofTheRun = WithInputs(job, inputs);
  const std::vector<std::string> options = EchoOptions(host_);
  std::string command;
  if (!job.output.empty() && !ofTheRun.inputs.empty()) {
    command = ReproducingCommand(ofTheRun, host_.registration, options);
    if (QFileInfo::exists(QString::fromStdString(job.output))) command += " -overwrite";
  }
  // Not when the settings have changed meanwhile: the command would be an old one.
  Deliver([this, command, number] {
    if (number == newestPreview_) listener_.commandChanged(command);
  });
  Findings findings =
      previews_.Make(job, ofTheRun, view, stop, [this](std::size_t position, PreviewImage image) {
        Deliver([this, position, image = std::move(image)]() mutable {
          listener_.imageMade(position, std::move(image));
        });
      });
  findings.inputs = inputs;
  if (const std::string note = NoteOn(host_, options); !note.empty())
    findings.warnings.push_back(note);
  Deliver([this, findings, number] {
    if (number == newestPreview_) listener_.previewMade(findings);
  });
}

RunEnd PanelWorker::MakeRun(const Job& job, const std::stop_token& stop) {
  const MessageRedirection redirection([this](const std::string& message) { Tell(message); });
  const auto progress = [this](double share) {
    Deliver([this, share] { listener_.progressed(share); });
  };
  previews_.CloseInputs();
  try {
    const Job ofTheRun = WithInputs(job, InputsRead(host_));
    const std::string command =
        ReproducingCommand(ofTheRun, host_.registration, EchoOptions(host_));
    const RunReport report = RunBatch(ofTheRun, command, host_, {stop, progress});
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

void PanelWorker::Tell(const std::string& message) {
  Deliver([this, message] { listener_.told(message); });
}

}  // namespace lumomixcalc::standalone
