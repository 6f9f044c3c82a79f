#include "standalone/panel/panel_worker.h"

#include <atomic>
#include <exception>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/cli/command_echo.h"
#include "standalone/runs/batch.h"
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
  ++handOvers;
  return ordered;
}

// A message of the run host in the words of the panel: fields in place of options.
std::string OfFields(std::string message) {
  static constexpr struct {
    const char* option;
    const char* field;
  } kWords[] = {{"-region=", "Region "},
                {"-resolution=", "Resolution 1 : "},
                {"-resampling=", "Resampling "},
                {"-mode=", "Mode "},
                {"-format=", "Format "}};
  for (const auto& [option, field] : kWords)
    for (std::size_t place = 0; (place = message.find(option, place)) != std::string::npos;)
      message.replace(place, std::string(option).size(), field);
  return message;
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
  std::string shown = Command(job);
  const auto output = job.files.find(host_.registration.Output().number);
  std::error_code ignored;
  if (!shown.empty() && (job.overwrite || std::filesystem::exists(output->second, ignored)))
    shown += " -overwrite";
  Deliver([this, stop, command = std::move(shown)] {
    // Not when the settings have changed on its way: the command would be an old one.
    if (!stop.stop_requested()) listener_.commandChanged(command);
  });
  Preview preview;
  try {
    preview = previews_.Make(job, band, host_, stop, [this](const std::string& warning) {
      if (warned_.insert(warning).second) Tell(warning);
    });
  } catch (const Cancelled&) {
    return;
  } catch (const std::bad_alloc&) {
    preview.result.note = "There is not enough memory for a preview.";
  } catch (const std::exception& error) {
    preview.result.note = error.what();
  }
  for (PreviewImage& image : preview.inputs) image.note = OfFields(image.note);
  preview.result.note = OfFields(preview.result.note);
  Deliver([this, preview = std::move(preview)] { listener_.previewMade(preview); });
}

RunEnd PanelWorker::MakeRun(const Job& job, const std::stop_token& stop) {
  const MessageRedirection redirection([this](const std::string& message) { Tell(message); });
  const auto progress = [this, last = 0](double share) mutable {
    constexpr int kSteps = 1000;  // no more than a progress bar can show
    const int step = static_cast<int>(share * kSteps);
    if (std::exchange(last, step) != step) Deliver([this, share] { listener_.progressed(share); });
  };
  try {
    const RunReport report = RunBatch(job, Command(job), host_, {stop, progress});
    for (std::size_t i = 0; i < report.bands.size(); ++i)
      Tell(StatisticsLine(static_cast<int>(i) + 1, report.bands[i]));
    return RunEnd::kDone;
  } catch (const Cancelled&) {
    return RunEnd::kCancelled;
  } catch (const Desisted&) {
    return RunEnd::kFailed;
  } catch (const Failure& failure) {
    Tell(failure.what());
  } catch (const std::exception& error) {
    Tell(std::string("unexpected failure: ") + error.what());
  }
  return RunEnd::kFailed;
}

std::string PanelWorker::Command(const Job& job) {
  const auto output = job.files.find(host_.registration.Output().number);
  if (output == job.files.end() || job.files.size() < 2) return {};
  return ReproducingCommand(job, host_.registration, EchoOptions(host_));
}

void PanelWorker::Tell(const std::string& message) {
  Deliver([this, text = OfFields(message)] { listener_.told(text); });
}

}  // namespace lumomixcalc::standalone
