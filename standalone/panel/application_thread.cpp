#include "standalone/panel/application_thread.h"

#include <chrono>
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

ApplicationThread::ApplicationThread(HostState& host, Deliver deliver, Listener listener)
    : host_(host), deliver_(std::move(deliver)), listener_(std::move(listener)) {}

ApplicationThread::~ApplicationThread() {
  CancelRun();
  newestPreview_.request_stop();
}

void ApplicationThread::Write(float* place, float value) {
  executor_.Post([place, value] { *place = value; });
}

void ApplicationThread::Write(std::int32_t* place, std::int32_t value) {
  executor_.Post([place, value] { *place = value; });
}

void ApplicationThread::Refresh(const Job& job, int band) {
  newestPreview_.request_stop();
  newestPreview_ = {};
  executor_.Post(
      [this, job, band, stop = newestPreview_.get_token()] { MakePreview(job, band, stop); });
}

void ApplicationThread::Run(const Job& job) {
  newestPreview_.request_stop();  // a preview would only delay the run
  run_ = {};
  executor_.Post([this, job, stop = run_.get_token()] {
    const RunEnd end = MakeRun(job, stop);
    deliver_([this, end] { listener_.runEnded(end); });
  });
}

void ApplicationThread::MakePreview(const Job& job, int band, const std::stop_token& stop) {
  if (stop.stop_requested()) return;
  std::string shown = Command(job);
  const auto output = job.files.find(host_.registration.Output().number);
  std::error_code ignored;
  if (!shown.empty() && (job.overwrite || std::filesystem::exists(output->second, ignored)))
    shown += " -overwrite";
  deliver_([this, stop, command = std::move(shown)] {
    // Not when the settings have changed on its way: the command would be an old one.
    if (!stop.stop_requested()) listener_.commandChanged(command);
  });
  Preview preview;
  try {
    // What is told while an input is read stands in the note of its image, too.
    const MessageRedirection nowhere([](const std::string&) {});
    preview = previews_.Make(job, band, host_, stop);
  } catch (const Cancelled&) {
    return;
  } catch (const std::bad_alloc&) {
    preview.result.note = "There is not enough memory for a preview.";
  } catch (const std::exception& error) {
    preview.result.note = error.what();
  }
  deliver_([this, preview = std::move(preview)] { listener_.previewMade(preview); });
}

// Tells the progress no more often than a progress bar can show.
std::function<void(double)> ApplicationThread::ThrottledProgress() {
  using Clock = std::chrono::steady_clock;
  return [this, last = Clock::time_point()](double share) mutable {
    const Clock::time_point now = Clock::now();
    if (share < 1 && now - last < std::chrono::milliseconds(40)) return;
    last = now;
    deliver_([this, share] { listener_.progressed(share); });
  };
}

RunEnd ApplicationThread::MakeRun(const Job& job, const std::stop_token& stop) {
  const MessageRedirection redirection([this](const std::string& message) { Tell(message); });
  try {
    const RunReport report = RunBatch(job, Command(job), host_, {stop, ThrottledProgress()});
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

std::string ApplicationThread::Command(const Job& job) {
  const auto output = job.files.find(host_.registration.Output().number);
  if (output == job.files.end() || job.files.size() < 2) return {};
  return ReproducingCommand(job, host_.registration, EchoOptions(host_));
}

void ApplicationThread::Tell(const std::string& message) {
  deliver_([this, message] { listener_.told(message); });
}

}  // namespace lumomixcalc::standalone
