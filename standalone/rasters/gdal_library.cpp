#include "standalone/rasters/gdal_library.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>
#include <malloc.h>

#include <set>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

thread_local GdalFailureLog* ownLog = nullptr;

GdalFailureLog& TheLog() {
  static GdalFailureLog shared;
  return ownLog ? *ownLog : shared;
}

// On one line, and with the final names of files that are still made in a hidden folder.
std::string AsSentence(const char* message) {
  const std::string folder = ".lumomixcalc-XXXXXX/";
  std::string text = message;
  for (std::size_t place = 0; (place = text.find(".lumomixcalc-", place)) != std::string::npos;)
    text.erase(place, folder.size());
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  text.erase(text.find_last_not_of(" .") + 1);
  return text.empty() ? "GDAL does not say why" : text;
}

std::mutex shownWarningsMutex;
std::set<std::string> shownWarnings;

bool IsNewWarning(const std::string& text) {
  const std::lock_guard lock(shownWarningsMutex);
  return shownWarnings.insert(text).second;
}

void CPL_STDCALL Handle(CPLErr severity, CPLErrorNum number, const char* message) {
  // What a format keeps in a file beside it is lost with that file.
  const bool losesMetadata = STARTS_WITH(message, "Unable to save auxiliary information");
  const std::string text = AsSentence(message);
  if (severity == CE_Warning && !losesMetadata) {
    if (IsNewWarning(text)) Warn(text);
  } else if (severity == CE_Warning || severity == CE_Failure) {
    const std::lock_guard lock(TheLog().mutex);
    TheLog().texts.push_back(text);
  } else {
    CPLDefaultErrorHandler(severity, number, message);
  }
}

}  // namespace

void SetUpGdal() {
  CPLSetErrorHandler(Handle);
  // For every strip that GDAL resamples it allocates and frees buffers of megabytes. By default glibc
  // gives them back to the system each time, and the run takes three times as long.
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 64 << 20);
  // Else a raw file that is too short reads as zeros where it ends.
  if (!CPLGetConfigOption("RAW_CHECK_FILE_SIZE", nullptr))
    CPLSetConfigOption("RAW_CHECK_FILE_SIZE", "YES");
  GDALAllRegister();
}

OwnGdalFailures::OwnGdalFailures() { ownLog = &log_; }

OwnGdalFailures::~OwnGdalFailures() { ownLog = nullptr; }

GdalFailures::GdalFailures() : log_(TheLog()) {
  const std::lock_guard lock(log_.mutex);
  before_ = log_.texts.size();
}

std::string GdalFailures::First() const {
  const std::lock_guard lock(log_.mutex);
  return log_.texts.size() > before_ ? log_.texts[before_] : "";
}

GdalRun::GdalRun() : cacheBytes_(GDALGetCacheMax64()) {
  const std::lock_guard lock(shownWarningsMutex);
  shownWarnings.clear();
}

GdalRun::~GdalRun() { GDALSetCacheMax64(cacheBytes_); }

}  // namespace lumomixcalc::standalone
