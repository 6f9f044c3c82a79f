// Opens a mutated TIFF and runs an operator on it. The two bytes after the file choose operator and
// output mode. Rows that are read straight from their place must be those that GDAL reads, and a
// run must end in a result that opens or in a failure that leaves nothing.
#include <gdal_priv.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <string>
#include <vector>

#include "ops/catalogue.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/uncompressed_rows.h"
#include "standalone/runs/run.h"
#include "tests/standalone/command_lines.h"

namespace {

using namespace lumomixcalc;
using namespace lumomixcalc::standalone;
namespace fs = std::filesystem;

// A folder of this process, in memory where the system has a file system for that; removed when the
// process ends. The input is a real file, since rows are not read straight from GDAL's memory
// files.
fs::path Folder() {
  const fs::path memory = "/dev/shm";
  return (fs::is_directory(memory) ? memory : fs::temp_directory_path()) /
         ("lumomixcalc-fuzz-" + std::to_string(getpid()));
}
fs::path Input() { return Folder() / "input.tif"; }
fs::path OutputFolder() { return Folder() / "output"; }

// Honest images of such sizes take their time and memory; what is looked for lies elsewhere.
bool IsSmall(GDALDataset& dataset) {
  constexpr double kMostElements = 1 << 18;
  double elements = 1.0 * dataset.GetRasterXSize() * dataset.GetRasterYSize();
  for (GDALRasterBand* const band : dataset.GetBands()) {
    int columns = 0;
    int rows = 0;
    band->GetBlockSize(&columns, &rows);
    elements += 1.0 * columns * rows;
  }
  return elements * dataset.GetRasterCount() < kMostElements;
}

// What neither way of reading refuses must be the same.
void CompareRows(GDALDataset& dataset) {
  const int columns = dataset.GetRasterXSize();
  const int rows = dataset.GetRasterYSize();
  std::vector<int> bands(static_cast<std::size_t>(dataset.GetRasterCount()));
  std::iota(bands.begin(), bands.end(), 1);
  const auto straight = UncompressedRows::Open(dataset, bands, {0, 0, columns, rows});
  if (!straight) return;
  for (const int number : bands) {
    GDALRasterBand& band = *dataset.GetRasterBand(number);
    const GDALDataType type = band.GetRasterDataType();
    std::vector<std::byte> ours(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) *
                                static_cast<std::size_t>(GDALGetDataTypeSizeBytes(type)));
    std::vector<std::byte> gdals(ours.size());
    const GdalFailures failures;
    const bool read = straight->Read(number, 0, rows, ours.data(), type).empty() &&
                      band.RasterIO(GF_Read, 0, 0, columns, rows, gdals.data(), columns, rows, type,
                                    0, 0, nullptr) == CE_None &&
                      !failures.Any();
    if (read && ours != gdals) std::abort();
  }
}

Job JobFor(const std::uint8_t* choice, const std::string& output) {
  const std::string name = kOperators[choice[0] % kOperators.size()].commandName;
  Job job = ReadCommandLine({Input(), Input(), output, "-quiet", "-overwrite", "-operator=" + name,
                             "-a=1.5:-2", choice[0] < 128 ? "-b=0" : "-b=3:1"})
                .job;
  const std::size_t mode = choice[1] % (DataModes().size() + 1);
  if (mode < DataModes().size()) job.mode = &DataModes()[mode];
  return job;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  SetUpGdal();
  fs::create_directories(OutputFolder());
  std::atexit([] { fs::remove_all(Folder()); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kChoiceBytes = 2;
  if (size < kChoiceBytes) return 0;
  const std::size_t fileSize = size - kChoiceBytes;
  std::ofstream(Input(), std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(fileSize));
  GDALDatasetUniquePtr dataset(GDALDataset::Open(Input().c_str(), GDAL_OF_RASTER));
  if (dataset) {
    if (!IsSmall(*dataset)) return 0;
    CompareRows(*dataset);
    dataset.reset();
  }
  const std::string output = OutputFolder() / "out.tif";
  try {
    RunBatch(JobFor(data + fileSize, output), "", TheHostState(), {});
    if (!GDALDatasetUniquePtr(GDALDataset::Open(output.c_str(), GDAL_OF_RASTER))) std::abort();
    fs::remove(output);
  } catch (const Failure&) {
  }
  if (!fs::is_empty(OutputFolder()) || gpSelectedProc) std::abort();
  return 0;
}
