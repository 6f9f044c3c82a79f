#include "standalone/gdal_errors.h"

#include <cpl_error.h>

#include <atomic>
#include <mutex>
#include <set>
#include <vector>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

// A damaged file can fail once a block; the first texts are enough, the count tells the rest.
constexpr std::size_t kTextsKept = 1000;

struct Log {
  std::atomic<std::size_t> failures = 0;
  std::mutex mutex;  // of what follows
  std::vector<std::string> texts;
  std::set<std::string> warningsShown;
};

Log& TheLog() {
  static Log log;
  return log;
}

std::string OnOneLine(const char* message) {
  std::string text = message;
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  text.erase(text.find_last_not_of(" .") + 1);
  return text;
}

void CPL_STDCALL Handle(CPLErr severity, CPLErrorNum number, const char* message) {
  if (severity != CE_Failure && severity != CE_Warning) {
    CPLDefaultErrorHandler(severity, number, message);
    return;
  }
  Log& log = TheLog();
  const std::lock_guard lock(log.mutex);
  if (severity == CE_Warning) {
    if (log.warningsShown.insert(OnOneLine(message)).second) Warn(OnOneLine(message));
    return;
  }
  if (log.texts.size() < kTextsKept) log.texts.push_back(OnOneLine(message));
  ++log.failures;
}

}  // namespace

void InstallGdalErrorHandler() { CPLSetErrorHandler(Handle); }

GdalFailures::GdalFailures() : before_(TheLog().failures) {}

bool GdalFailures::Any() const { return TheLog().failures > before_; }

std::string GdalFailures::First() const {
  Log& log = TheLog();
  const std::lock_guard lock(log.mutex);
  return before_ < log.texts.size() ? log.texts[before_] : std::string();
}

}  // namespace lumomixcalc::standalone
