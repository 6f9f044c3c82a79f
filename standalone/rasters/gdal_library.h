#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace lumomixcalc::standalone {

// The texts of failures, each on one line, as long as an object of GdalFailures reads them.
struct GdalFailureLog {
  std::mutex mutex;
  std::vector<std::string> texts;
  int readers = 0;
};

// Prepares GDAL for the runs of this host: configuration, drivers, and an error handler that
// collects the failures of all threads and shows each warning once. GDAL reports most write errors
// only to the handler: the calls that write, flush and close return success. Call this once in the
// process, before any other GDAL call. Configuration that the user has set is kept.
void SetUpGdal();

// While this object lives, the failures of the thread that made it are kept separate: a
// GdalFailures of that thread sees these failures only, and no other thread sees them. So a failure
// to read one file is not mistaken for a failure to write another, by another thread or by GDAL's
// own threads.
class OwnGdalFailures {
 public:
  OwnGdalFailures();
  ~OwnGdalFailures();

 private:
  GdalFailureLog log_;
};

// The failures since this object was made: those of its thread if an OwnGdalFailures keeps them
// separate, otherwise those of all threads that have no OwnGdalFailures.
class GdalFailures {
 public:
  GdalFailures();
  ~GdalFailures();
  GdalFailures(const GdalFailures&) = delete;
  GdalFailures& operator=(const GdalFailures&) = delete;
  bool Any() const;
  // GDAL's text of the first failure, or a text that says that GDAL gives no reason.
  std::string First() const;

 private:
  GdalFailureLog& log_;
  std::size_t before_ = 0;
};

// Sets the state that GDAL keeps for the whole process for one run: each warning is shown once per
// run, and the size of the block cache is restored after the run.
class GdalRun {
 public:
  GdalRun();
  ~GdalRun();
  GdalRun(const GdalRun&) = delete;
  GdalRun& operator=(const GdalRun&) = delete;

 private:
  std::int64_t cacheBytes_;
};

}  // namespace lumomixcalc::standalone
