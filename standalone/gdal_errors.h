#ifndef LUMOMIXCALC_STANDALONE_GDAL_ERRORS_H
#define LUMOMIXCALC_STANDALONE_GDAL_ERRORS_H

#include <cstddef>
#include <string>

namespace lumomixcalc::standalone {

// From now on GDAL's failures are collected rather than printed, whichever thread they come from,
// and each of its warnings is shown once. GDAL reports most write errors in this way alone: the
// calls that write, flush and close return success.
void InstallGdalErrorHandler();

// Tells the failures that came since it was made.
class GdalFailures {
 public:
  GdalFailures();
  bool Any() const;
  // GDAL's text of the first of them, on one line; empty when there is none.
  std::string First() const;

 private:
  std::size_t before_;
};

}  // namespace lumomixcalc::standalone

#endif
