#include "standalone/panel/application_thread.h"

#include <chrono>
#include <exception>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "standalone/command_line/command_echo.h"
#include "standalone/messages.h"
#include "standalone/runs/batch_run.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {

// Gives a preview up as soon as a newer one is wanted.
class ApplicationThread::PreviewObserver : public RunObserver {
 public:
  PreviewObserver(const std::atomic<std::uint64_t>& newest, std::uint64_t request)
      : newest_(newest), request_(request) {}
  void Progress(double) override {}
  bool IsCancelled() override { return newest_ != request_; }

 private:
  const std::atomic<std::uint64_t>& newest_;
  std::uint64_t request_;
};

// Tells a run's progress, no more often than a progress bar can show.
class ApplicationThread::BatchObserver : public RunObserver {
 public:
  explicit BatchObserver(ApplicationThread& thread) : thread_(thread) {}

  void Progress(double share) override {
    const Clock::time_point now = Clock::now();
    if (share < 1 && now - last_ < std::chrono::milliseconds(40)) return;
    last_ = now;
    thread_.deliver_([&listener = thread_.listener_, share] { listener.progressed(share); });
  }
  bool IsCancelled() override { return thread_.runCancelled_; }

 private:
  using Clock = std::chrono::steady_clock;
  ApplicationThread& thread_;
  Clock::time_point last_;
};

ApplicationThread::ApplicationThread(RunContext& context, Deliver deliver, Listener listener)
    : context_(context), deliver_(std::move(deliver)), listener_(std::move(listener)) {}

ApplicationThread::~ApplicationThread() {
  runCancelled_ = true;
  ++newestRequest_;
}

void ApplicationThread::Write(float* place, float value) {
  executor_.Post([place, value] { *place = value; });
}

void ApplicationThread::Write(std::int32_t* place, std::int32_t value) {
  executor_.Post([place, value] { *place = value; });
}

void ApplicationThread::Refresh(const Options& options, int band) {
  const std::uint64_t request = ++newestRequest_;
  executor_.Post([this, options, band, request] { MakePreview(options, band, request); });
}

void ApplicationThread::Run(const Options& options) {
  ++newestRequest_;  // a preview would only delay the run
  runCancelled_ = false;
  executor_.Post([this, options] {
    const RunEnd end = MakeRun(options);
    deliver_([this, end] { listener_.runEnded(end); });
  });
}

void ApplicationThread::MakePreview(const Options& options, int band, std::uint64_t request) {
  if (request != newestRequest_) return;
  deliver_([this, request, command = Command(options)] {
    // Not when the settings have changed on its way: the command would be an old one.
    if (request == newestRequest_) listener_.commandChanged(command);
  });
  Preview preview;
  try {
    // What is told while an input is read stands in the note of its image, too.
    const MessageRedirection nowhere([](const std::string&) {});
    PreviewObserver observer(newestRequest_, request);
    preview = previews_.Make(options, band, context_, observer);
  } catch (const RunCancelled&) {
    return;
  } catch (const std::bad_alloc&) {
    preview.result.note = "There is not enough memory for a preview.";
  } catch (const std::exception& error) {
    preview.result.note = error.what();
  }
  deliver_([this, preview = std::move(preview)] { listener_.previewMade(preview); });
}

RunEnd ApplicationThread::MakeRun(const Options& options) {
  const MessageRedirection redirection([this](const std::string& message) { Tell(message); });
  try {
    BatchObserver observer(*this);
    const RunReport report = RunBatch(options, context_, observer);
    for (std::size_t i = 0; i < report.bands.size(); ++i)
      Tell(StatisticsLine(static_cast<int>(i) + 1, report.bands[i]));
    return RunEnd::kDone;
  } catch (const RunCancelled&) {
    return RunEnd::kCancelled;
  } catch (const Failure& failure) {
    // No text: the application has told the user already.
    if (*failure.what() != '\0') Tell(failure.what());
  } catch (const std::exception& error) {
    Tell(std::string("unexpected failure: ") + error.what());
  }
  return RunEnd::kFailed;
}

std::string ApplicationThread::Command(const Options& options) {
  const auto output = options.files.find(context_.registration.Output().number);
  if (output == options.files.end() || options.files.size() < 2) return {};
  std::string command = ReproducingCommand(options, context_.registration, EchoOptions(context_));
  std::error_code ignored;
  if (options.overwrite || std::filesystem::exists(output->second, ignored))
    command += " -overwrite";
  return command;
}

void ApplicationThread::Tell(const std::string& message) {
  deliver_([this, message] { listener_.told(message); });
}

}  // namespace lumomixcalc::standalone
