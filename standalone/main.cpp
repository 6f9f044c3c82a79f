// The batch program: makes one run, joins parts, or starts the panel's program in its place.
#include <cpl_string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/cli/options.h"
#include "standalone/program.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/runs/parts.h"
#include "standalone/runs/run.h"

namespace lumomixcalc::standalone {
namespace {

// The panel is a separate program in the same folder. So a batch run does not load the graphical
// toolkit, and a server does not need it.
std::filesystem::path PanelProgram() {
  std::error_code ignored;
  const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe", ignored);
  return own.parent_path() / (std::string(kProgramName) + "-panel");
}

// In a script, standard input or output is usually a file or a pipe.
bool IsFileOrPipe(int descriptor) {
  struct stat status = {};
  return fstat(descriptor, &status) == 0 && (S_ISREG(status.st_mode) || S_ISFIFO(status.st_mode));
}

bool PanelCanBeShown() {
  std::error_code ignored;
  return DisplayIsNamed() && !IsFileOrPipe(STDIN_FILENO) && !IsFileOrPipe(STDOUT_FILENO) &&
         std::filesystem::exists(PanelProgram(), ignored);
}

// Replaces this process by the panel's program with these arguments.
[[noreturn]] void StartPanel(const std::vector<std::string>& arguments) {
  const std::string program = PanelProgram();
  CPLStringList words;
  words.AddString(program.c_str());
  for (const std::string& argument : arguments) words.AddString(argument.c_str());
  execv(program.c_str(), words.List());
  throw WrongCommandLine("-panel: cannot start " + program + ": " + std::strerror(errno) +
                         "; it is in the package lumomixcalc-panel; to run without the panel, " +
                         "name files and options (see -help)");
}

// Shows the progress of a run on standard error, as in
// "[==========                    ]  33 %, 0:42 left". The line is erased before a message is shown
// and when the object is destroyed.
class ProgressBar {
 public:
  ProgressBar()
      : redirection_([this](const std::string& sentence) {
          const std::lock_guard lock(mutex_);
          Clear();
          WriteToStandardError(sentence);
        }) {}

  ~ProgressBar() {
    const std::lock_guard lock(mutex_);
    Clear();
  }

  void Show(double share) {
    const Clock::time_point now = Clock::now();
    const std::lock_guard lock(mutex_);
    if (now < nextShow_) return;
    nextShow_ = now + std::chrono::milliseconds(100);
    Clear();
    constexpr double kWidth = 30;
    const std::string bar(static_cast<std::size_t>(share * kWidth), '=');
    std::fprintf(stderr, "[%-30s] %3d %%", bar.c_str(), static_cast<int>(share * 100));
    if (share > 0) {
      const double passed = std::chrono::duration<double>(now - start_).count();
      const auto left = static_cast<long>(std::ceil(passed * (1 - share) / share));
      std::fprintf(stderr, ", %ld:%02ld left", left / 60, left % 60);
    }
    shown_ = true;
  }

 private:
  using Clock = std::chrono::steady_clock;

  void Clear() {  // with mutex_ held
    if (shown_) std::fputs("\r\033[K", stderr);
    shown_ = false;
  }

  Clock::time_point start_ = Clock::now();
  Clock::time_point nextShow_ = start_ + std::chrono::milliseconds(500);  // none of a short run
  std::mutex mutex_;  // messages come from any thread
  bool shown_ = false;
  MessageRedirection redirection_;
};

RunReport Run(const Options& options, HostState& host, const std::stop_token& stop) {
  const std::string command = ReproducingCommand(options.job, host.registration, EchoOptions(host));
  std::optional<ProgressBar> bar;
  if (!options.quiet && !options.progress && isatty(STDERR_FILENO) != 0) bar.emplace();
  int told = -1;
  const auto show = [&](double share) {
    if (bar) bar->Show(share);
    const int percent = static_cast<int>(share * 100);
    if (options.progress && percent > told) std::fprintf(stderr, "%d\n", told = percent);
  };
  if (options.checkOnly) return RunReport(CheckRun(options.job, command, host));
  return RunBatch(options.job, command, host, {stop, show});
}

void RunOrJoin(const Options& options, HostState& host, const std::stop_token& stop) {
  SetUpGdal();
  const RunReport report = options.action == Options::Action::kJoin
                               ? JoinParts(options.mosaic, options.job)
                               : Run(options, host, stop);
  if (options.checkOnly) std::puts(options.job.output.c_str());
  if (options.quiet || options.checkOnly || options.job.statisticsFile == "-") return;
  for (std::size_t i = 0; i < report.bands.size(); ++i)
    std::puts(StatisticsLine(static_cast<int>(i) + 1, report.bands[i]).c_str());
}

}  // namespace
}  // namespace lumomixcalc::standalone

int main(int argc, char** argv) {
  using namespace lumomixcalc::standalone;
  std::vector<std::string> arguments(argv + 1, argv + argc);
  // A desktop starts the program without arguments.
  if (arguments.empty() && PanelCanBeShown()) arguments = {"-panel"};
  return RunProgram(arguments,
                    [&](const Options& options, HostState& host, const std::stop_token& stop) {
                      if (options.action == Options::Action::kPanel) StartPanel(arguments);
                      RunOrJoin(options, host, stop);
                    });
}
