// Opens a mutated TIFF and runs an operator on it. The two bytes after the file choose operator and
// output mode. A run must end in a result that opens or in a failure that leaves nothing.
#include <cpl_vsi.h>
#include <gdal_priv.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "ops/catalogue.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/runs/run.h"
#include "tests/standalone/command_lines.h"

namespace {

using namespace lumomixcalc;
using namespace lumomixcalc::standalone;
namespace fs = std::filesystem;

constexpr const char* kInput = "/vsimem/input.tif";

// For the outputs of this process; removed when it ends.
fs::path OutputFolder() {
  return fs::temp_directory_path() / ("lumomixcalc-fuzz-" + std::to_string(getpid()));
}

// Honest images of such sizes take their time and memory; what is looked for lies elsewhere.
bool IsSmall() {
  constexpr double kMostElements = 1 << 18;
  const GDALDatasetUniquePtr dataset(GDALDataset::Open(kInput, GDAL_OF_RASTER));
  if (!dataset) return true;
  double elements = 1.0 * dataset->GetRasterXSize() * dataset->GetRasterYSize();
  for (GDALRasterBand* const band : dataset->GetBands()) {
    int columns = 0;
    int rows = 0;
    band->GetBlockSize(&columns, &rows);
    elements += 1.0 * columns * rows;
  }
  return elements * dataset->GetRasterCount() < kMostElements;
}

Job JobFor(const std::uint8_t* choice, const std::string& output) {
  const std::string name = kOperators[choice[0] % kOperators.size()].commandName;
  Job job = ReadCommandLine({kInput, kInput, output, "-quiet", "-overwrite", "-operator=" + name,
                             "-a=1.5:-2", choice[0] < 128 ? "-b=0" : "-b=3:1"})
                .job;
  const std::size_t mode = choice[1] % (DataModes().size() + 1);
  if (mode < DataModes().size()) job.mode = &DataModes()[mode];
  return job;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  SetUpGdal();
  fs::create_directory(OutputFolder());
  std::atexit([] { fs::remove_all(OutputFolder()); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kChoiceBytes = 2;
  if (size < kChoiceBytes) return 0;
  const std::string output = OutputFolder() / "out.tif";
  std::string file(reinterpret_cast<const char*>(data), size - kChoiceBytes);
  VSIFCloseL(
      VSIFileFromMemBuffer(kInput, reinterpret_cast<GByte*>(file.data()), file.size(), FALSE));
  if (IsSmall()) {
    try {
      RunBatch(JobFor(data + size - kChoiceBytes, output), "", TheHostState(), {});
      if (!GDALDatasetUniquePtr(GDALDataset::Open(output.c_str(), GDAL_OF_RASTER))) std::abort();
      fs::remove(output);
    } catch (const Failure&) {
    }
    if (!fs::is_empty(OutputFolder()) || gpSelectedProc) std::abort();
  }
  VSIUnlink(kInput);
  return 0;
}
