#pragma once

#include <cstdint>
#include <string>

namespace lumomixcalc::standalone {

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
  OwnGdalFailures(const OwnGdalFailures&) = delete;
  OwnGdalFailures& operator=(const OwnGdalFailures&) = delete;
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
  // GDAL's text of the first failure on one line, or a text that says that GDAL gives no reason;
  // with the system's text if the thread's last failed call failed by the disk.
  std::string First() const;

  // For the error handler: a failure of a thread, with what keeps its failures separate, or null.
  void Add(const std::string& text, const OwnGdalFailures* own);

 private:
  const OwnGdalFailures* own_;
  std::string first_;
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
