#pragma once

#include <gdal_priv.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace lumomixcalc::standalone {

struct OutputPlan;

// What the rows of a band amount to, from top to bottom, to compare them without keeping them.
struct RowDigest {
  std::size_t hash = 0;
  std::uint64_t nans = 0;

  void Add(const void* row, int columns, GDALDataType type);
  bool operator==(const RowDigest&) const = default;
};

// The values that a format did not store exactly, such as text with few digits, or JPEG.
struct Changes {
  bool any = false;
  std::uint64_t count = 0;  // if it is known
  double from = 0;          // the first one
  double to = 0;
};

// Reads a complete output back. Checks that it opens with the size, the bands and, unless it is a
// copy, a type of the plan, and that its elements can be read. Compares all of them with the
// original if it is a copy, else with the digests by band of what was written. Without both, reads
// the last row only. Warns when the file lacks what `wanted` declares: georeferencing, the no-data
// value, the metadata of the run. Throws Failure.
Changes ReadBack(const std::filesystem::path& file, const OutputPlan& plan, GDALDataset& wanted,
                 GDALDataset* original, const std::vector<RowDigest>& digests);

}  // namespace lumomixcalc::standalone
