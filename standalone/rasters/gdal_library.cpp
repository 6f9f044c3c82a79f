#include "standalone/rasters/gdal_library.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_vsi.h>
#include <gdal.h>
#include <malloc.h>
#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <regex>
#include <set>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {
namespace {

constexpr const char* kNoReason = "GDAL does not say why";

// Whether a system call of this thread failed for want of space or by a fault of the disk.
bool DiskFailed() { return errno == ENOSPC || errno == EDQUOT || errno == EFBIG || errno == EIO; }

std::mutex failuresMutex;
std::set<GdalFailures*> ofAnyThread;
thread_local GdalFailures* ofThisThread = nullptr;

// GDAL's message on one line. The names of hidden folders are removed from the paths of files, so
// that these are the final ones.
std::string AsSentence(const char* message) {
  static const std::regex kFolders(
      R"(\.lumomixcalc-[A-Za-z0-9]{6}/(\.trial/)?|/vsimem/lumomixcalc/)");
  std::string text = std::regex_replace(message, kFolders, "");
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  text.erase(text.find_last_not_of(" .") + 1);
  return text.empty() ? kNoReason : text;
}

void CPL_STDCALL Handle(CPLErr severity, CPLErrorNum number, const char* message) {
  // The metadata that a format keeps in an extra file would be lost.
  const bool losesMetadata = STARTS_WITH(message, "Unable to save auxiliary information");
  const std::string text = AsSentence(message);
  // HFA's driver says so whenever it opens a file whose no-data value is NaN, which it then gives.
  if (text == "NaN converted to INT_MAX") return;
  if (severity == CE_Warning && !losesMetadata) {
    Warn(text);
  } else if (severity == CE_Warning || severity == CE_Failure) {
    if (ofThisThread) return ofThisThread->Add(text);
    const std::lock_guard lock(failuresMutex);
    for (GdalFailures* const failures : ofAnyThread) failures->Add(text);
  } else {
    CPLDefaultErrorHandler(severity, number, message);
  }
}

}  // namespace

void SetUpGdal() {
  CPLSetErrorHandler(Handle);
  // GDAL reports what is wrong with a TIFF. With GDAL 3.10, libtiff prints some of it as well.
  TIFFSetErrorHandler(nullptr);
  TIFFSetWarningHandler(nullptr);
  // GDAL allocates and frees buffers of megabytes for every strip that it resamples. By default
  // glibc returns them to the system each time, and the run takes three times as long.
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 64 << 20);
  // The threads of a run pass GDAL's blocks on to each other. With a heap for each of them, the
  // memory that one has freed stays out of the others' reach.
  mallopt(M_ARENA_MAX, 1);
  // Otherwise the missing end of a raw file that is too short is read as zeros.
  if (!CPLGetConfigOption("RAW_CHECK_FILE_SIZE", nullptr))
    CPLSetConfigOption("RAW_CHECK_FILE_SIZE", "YES");
  GDALAllRegister();
}

GdalFailures::GdalFailures(Of threads) : outer_(ofThisThread) {
  errno = 0;
  if (threads == Of::kThisThread) {
    ofThisThread = this;
  } else {
    const std::lock_guard lock(failuresMutex);
    ofAnyThread.insert(this);
  }
}

GdalFailures::~GdalFailures() {
  ofThisThread = outer_;
  const std::lock_guard lock(failuresMutex);
  ofAnyThread.erase(this);
}

void SizeBlockCache(std::int64_t bytes) {
  if (CPLGetConfigOption("GDAL_CACHEMAX", nullptr)) return;
  constexpr std::int64_t kSlack = 2 << 20;
  bytes += kSlack;
  if (const std::int64_t physical = CPLGetUsablePhysicalRAM(); physical > 0)
    bytes = std::min(bytes, std::max(kSlack, physical / 4));
  GDALSetCacheMax64(bytes);
}

void GdalFailures::Add(const std::string& text) {
  if (first_.empty()) first_ = text;
}

bool GdalFailures::Any() const {
  const std::lock_guard lock(failuresMutex);
  return !first_.empty();
}

std::string GdalFailures::First() const {
  const std::lock_guard lock(failuresMutex);
  std::string error = DiskFailed() ? std::strerror(errno) : kNoReason;
  if (first_.empty()) return error;
  const bool explains = !DiskFailed() || first_.find(error) != std::string::npos;
  return explains ? first_ : first_ + ": " + error;
}

}  // namespace lumomixcalc::standalone
