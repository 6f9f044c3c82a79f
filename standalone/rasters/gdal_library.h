#pragma once

#include <cstdint>
#include <string>

namespace lumomixcalc::standalone {

// Prepares GDAL for the runs of this host: configuration, drivers, and an error handler that
// collects the failures of all threads and passes warnings to Warn. GDAL reports most write errors
// only to the handler: the calls that write, flush and close return success. Call this once in the
// process, before any other GDAL call. Configuration that the user has set is kept.
void SetUpGdal();

// Lets GDAL's block cache hold so many bytes and a little more, but at most a quarter of the
// memory; GDAL_CACHEMAX goes first. A larger cache would only take memory without being faster.
void SizeBlockCache(std::int64_t bytes);

// The failures of GDAL since this object was made. Those of any thread, because GDAL writes in
// threads of its own, but without what an object for a single thread takes: so a failure to read a
// file is not mistaken for a failure to write another.
class GdalFailures {
 public:
  enum class Of { kAnyThread, kThisThread };
  explicit GdalFailures(Of threads = Of::kAnyThread);
  ~GdalFailures();
  GdalFailures(const GdalFailures&) = delete;
  GdalFailures& operator=(const GdalFailures&) = delete;
  bool Any() const;
  // GDAL's text of the first failure on one line, or a text that says that GDAL gives no reason;
  // with the system's text if the thread's last failed call failed by the disk.
  std::string First() const;

  // For the error handler.
  void Add(const std::string& text);

 private:
  GdalFailures* outer_;  // what took the failures of this thread before
  std::string first_;
};

}  // namespace lumomixcalc::standalone
