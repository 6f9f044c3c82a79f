#include "standalone/rasters/gdal_library.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>
#include <malloc.h>

#include <mutex>
#include <set>
#include <vector>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {

struct GdalFailureLog {
  mutable std::mutex mutex;
  std::vector<std::string> texts;
};

namespace {

GdalFailureLog& SharedLog() {
  static GdalFailureLog log;
  return log;
}

thread_local GdalFailureLog* ownLog = nullptr;

GdalFailureLog& TheLog() { return ownLog ? *ownLog : SharedLog(); }

// On one line, and with the final names of files that are still made in a hidden folder.
std::string AsSentence(const char* message) {
  const std::string folder = ".lumomixcalc-";
  const std::size_t length = folder.size() + std::string("XXXXXX/").size();
  std::string text = message;
  for (std::size_t place = 0; (place = text.find(folder, place)) != std::string::npos;)
    text.erase(place, length);
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  text.erase(text.find_last_not_of(" .") + 1);
  return text;
}

std::mutex shownWarningsMutex;
std::set<std::string> shownWarnings;

void ShowOnce(const std::string& warning) {
  {
    const std::lock_guard lock(shownWarningsMutex);
    if (!shownWarnings.insert(warning).second) return;
  }
  Warn(warning);
}

void NoteFailure(const std::string& text) {
  GdalFailureLog& log = TheLog();
  const std::lock_guard lock(log.mutex);
  log.texts.push_back(text);
}

void CPL_STDCALL Handle(CPLErr severity, CPLErrorNum number, const char* message) {
  // What a format keeps in a file beside it is lost with that file.
  const bool losesMetadata = STARTS_WITH(message, "Unable to save auxiliary information");
  if (severity == CE_Warning && !losesMetadata) {
    ShowOnce(AsSentence(message));
  } else if (severity == CE_Warning || severity == CE_Failure) {
    NoteFailure(AsSentence(message));
  } else {
    CPLDefaultErrorHandler(severity, number, message);
  }
}

}  // namespace

void SetUpGdal() {
  CPLSetErrorHandler(Handle);
  // GDAL allocates and frees a row of tiles at a time. By itself glibc gives that memory back to
  // the system each time, and an output in tiles takes three times as long.
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 64 << 20);
  // Else a raw file that is too short reads as zeros where it ends.
  if (!CPLGetConfigOption("RAW_CHECK_FILE_SIZE", nullptr))
    CPLSetConfigOption("RAW_CHECK_FILE_SIZE", "YES");
  GDALAllRegister();
}

OwnGdalFailures::OwnGdalFailures() : log_(std::make_unique<GdalFailureLog>()) {
  ownLog = log_.get();
}

OwnGdalFailures::~OwnGdalFailures() { ownLog = nullptr; }

GdalFailures::GdalFailures() : log_(TheLog()) {
  const std::lock_guard lock(log_.mutex);
  before_ = log_.texts.size();
}

bool GdalFailures::Any() const {
  const std::lock_guard lock(log_.mutex);
  return log_.texts.size() > before_;
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
