#include "standalone/rasters/gdal_library.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>
#include <malloc.h>

#include <atomic>
#include <mutex>
#include <set>
#include <vector>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {

struct GdalFailureLog {
  std::atomic<std::size_t> failures = 0;
  mutable std::mutex mutex;  // of what follows
  std::vector<std::string> texts;
};

namespace {

// A damaged file can fail once a block; the first texts are enough, the count tells the rest.
constexpr std::size_t kTextsKept = 1000;

GdalFailureLog& SharedLog() {
  static GdalFailureLog log;
  return log;
}

thread_local GdalFailureLog* ownLog = nullptr;

GdalFailureLog& TheLog() { return ownLog ? *ownLog : SharedLog(); }

std::string OnOneLine(const char* message) {
  std::string text = message;
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  text.erase(text.find_last_not_of(" .") + 1);
  return text;
}

void ShowOnce(const std::string& warning) {
  static std::mutex mutex;
  static std::set<std::string> shown;
  const std::lock_guard lock(mutex);
  if (shown.insert(warning).second) Warn(warning);
}

void CPL_STDCALL Handle(CPLErr severity, CPLErrorNum number, const char* message) {
  if (severity == CE_Warning) {
    ShowOnce(OnOneLine(message));
  } else if (severity == CE_Failure) {
    GdalFailureLog& log = TheLog();
    const std::lock_guard lock(log.mutex);
    if (log.texts.size() < kTextsKept) log.texts.push_back(OnOneLine(message));
    ++log.failures;
  } else {
    CPLDefaultErrorHandler(severity, number, message);
  }
}

}  // namespace

void SetUpGdal() {
  CPLSetErrorHandler(Handle);
  // GDAL allocates and frees blocks of megabytes; of itself glibc takes that as a sign to keep ever
  // more of what is freed.
  mallopt(M_TRIM_THRESHOLD, 1 << 20);
  // Else a raw file that is too short reads as zeros where it ends.
  if (!CPLGetConfigOption("RAW_CHECK_FILE_SIZE", nullptr))
    CPLSetConfigOption("RAW_CHECK_FILE_SIZE", "YES");
  GDALAllRegister();
}

OwnGdalFailures::OwnGdalFailures() : log_(std::make_unique<GdalFailureLog>()) {
  ownLog = log_.get();
}

OwnGdalFailures::~OwnGdalFailures() { ownLog = nullptr; }

GdalFailures::GdalFailures() : log_(TheLog()), before_(log_.failures) {}

bool GdalFailures::Any() const { return log_.failures > before_; }

std::string GdalFailures::First() const {
  const std::lock_guard lock(log_.mutex);
  return before_ < log_.texts.size() ? log_.texts[before_] : std::string();
}

}  // namespace lumomixcalc::standalone
