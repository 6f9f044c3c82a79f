#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace lumomixcalc::standalone {

// The texts of failures, each on one line.
struct GdalFailureLog {
  mutable std::mutex mutex;
  std::vector<std::string> texts;
};

// Sets GDAL up for runs of this host: configuration, drivers, and an error handler that collects
// failures of all threads and shows each warning once. GDAL reports most write errors in this way
// alone: the calls that write, flush and close return success. Call it once in the process, before
// anything else of GDAL. What the user configured stays.
void SetUpGdal();

// Keeps the failures of the thread that makes it apart for as long as it lives: only a GdalFailures
// of that thread sees them, and only them. So a file that fails to read is not taken for a fault of
// the one that another thread, and GDAL's own threads, are writing.
class OwnGdalFailures {
 public:
  OwnGdalFailures();
  ~OwnGdalFailures();

 private:
  GdalFailureLog log_;
};

// Tells the failures that came since it was made: those of its own thread when they are kept apart,
// else those of all other threads.
class GdalFailures {
 public:
  GdalFailures();
  bool Any() const { return !First().empty(); }
  // GDAL's text of the first of them; empty when there is none.
  std::string First() const;

 private:
  const GdalFailureLog& log_;
  std::size_t before_ = 0;
};

// What GDAL keeps for the whole process, as one run needs it: each warning is shown once in a run,
// and the size of the block cache is set back after it.
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
