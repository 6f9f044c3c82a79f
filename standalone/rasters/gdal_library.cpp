#include "standalone/rasters/gdal_library.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>
#include <malloc.h>

#include <set>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

constexpr const char* kNoReason = "GDAL does not say why";

thread_local GdalFailureLog* ownLog = nullptr;

GdalFailureLog& LogOfThisThread() {
  static GdalFailureLog shared;
  return ownLog ? *ownLog : shared;
}

// GDAL's message on one line. The names of hidden folders are removed from the paths of files, so
// that these are the final ones.
std::string AsSentence(const char* message) {
  const std::string folder = ".lumomixcalc-XXXXXX/";
  std::string text = message;
  for (std::size_t place = 0; (place = text.find(".lumomixcalc-", place)) != std::string::npos;)
    text.erase(place, folder.size());
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  text.erase(text.find_last_not_of(" .") + 1);
  return text.empty() ? kNoReason : text;
}

std::mutex shownWarningsMutex;
std::set<std::string> shownWarnings;

bool IsNewWarning(const std::string& text) {
  const std::lock_guard lock(shownWarningsMutex);
  return shownWarnings.insert(text).second;
}

void CPL_STDCALL Handle(CPLErr severity, CPLErrorNum number, const char* message) {
  // The metadata that a format keeps in an extra file would be lost.
  const bool losesMetadata = STARTS_WITH(message, "Unable to save auxiliary information");
  const std::string text = AsSentence(message);
  if (severity == CE_Warning && !losesMetadata) {
    if (IsNewWarning(text)) Warn(text);
  } else if (severity == CE_Warning || severity == CE_Failure) {
    GdalFailureLog& log = LogOfThisThread();
    const std::lock_guard lock(log.mutex);
    if (log.readers > 0) log.texts.push_back(text);
  } else {
    CPLDefaultErrorHandler(severity, number, message);
  }
}

}  // namespace

void SetUpGdal() {
  CPLSetErrorHandler(Handle);
  // GDAL allocates and frees buffers of megabytes for every strip that it resamples. By default
  // glibc returns them to the system each time, and the run takes three times as long.
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 64 << 20);
  // Otherwise the missing end of a raw file that is too short is read as zeros.
  if (!CPLGetConfigOption("RAW_CHECK_FILE_SIZE", nullptr))
    CPLSetConfigOption("RAW_CHECK_FILE_SIZE", "YES");
  GDALAllRegister();
}

OwnGdalFailures::OwnGdalFailures() { ownLog = &log_; }

OwnGdalFailures::~OwnGdalFailures() { ownLog = nullptr; }

GdalFailures::GdalFailures() : log_(LogOfThisThread()) {
  const std::lock_guard lock(log_.mutex);
  before_ = log_.texts.size();
  ++log_.readers;
}

GdalFailures::~GdalFailures() {
  const std::lock_guard lock(log_.mutex);
  if (--log_.readers == 0) log_.texts.clear();
}

bool GdalFailures::Any() const {
  const std::lock_guard lock(log_.mutex);
  return log_.texts.size() > before_;
}

std::string GdalFailures::First() const {
  const std::lock_guard lock(log_.mutex);
  return log_.texts.size() > before_ ? log_.texts[before_] : kNoReason;
}

GdalRun::GdalRun() : cacheBytes_(GDALGetCacheMax64()) {
  const std::lock_guard lock(shownWarningsMutex);
  shownWarnings.clear();
}

GdalRun::~GdalRun() { GDALSetCacheMax64(cacheBytes_); }

}  // namespace lumomixcalc::standalone
