#include "standalone/runs/parts.h"

#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/grid.h"
#include "standalone/rasters/publication.h"
#include "standalone/rasters/raster_output.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;
namespace {

// The metadata of a part's raster that holds the facts of the part.
constexpr const char* kDomain = "LUMOMIXCALC_PART";
constexpr const char* kFacts = "FACTS";

fs::path FolderOfParts(fs::path mosaic) { return mosaic.replace_extension(".parts"); }

std::string PartName(const PartNumber& part) {
  return std::to_string(part.number) + "-of-" + std::to_string(part.count) + ".tif";
}

// The N of the parts "K-of-N.tif" in the folder, or count when there are none. Throws Failure when
// N is not count, unless count is 0.
int CountOfParts(const fs::path& folder, int count) {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    const std::string name = entry.path().filename();
    int found = 0;
    int end = 0;  // stays so unless all of the pattern is there
    std::sscanf(name.c_str(), "%*d-of-%d.tif%n", &found, &end);
    if (end == 0 || found == 0) continue;
    if (count != 0 && found != count)
      throw Failure("the folder " + folder.string() + " holds " + name + ", which is none of " +
                    CountText(static_cast<unsigned>(count), "part") +
                    "; choose another name or remove what is not wanted");
    count = found;
  }
  if (error && error != std::errc::no_such_file_or_directory)
    throw Failure("cannot read the folder " + folder.string() + ": " + error.message());
  return count;
}

// The files of the inputs with their sizes and times.
std::string InputsText(const std::vector<InputFiles>& inputs) {
  std::string text;
  for (const InputFiles& input : inputs)
    for (const std::string& file : input.files) {
      VSIStatBufL status = {};
      text += VSIStatL(file.c_str(), &status) == 0 ? "" : "no file, ";
      text += file + ": " + std::to_string(status.st_size) + " bytes, " +
              std::to_string(status.st_mtim.tv_sec) + " s " +
              std::to_string(status.st_mtim.tv_nsec) + " ns\n";
    }
  return Utf8(text);
}

// What is stored with a part.
struct Facts {
  CPLJSONObject json;
  RunReport report;
};

// How a part came about, unlike another, for a message. Empty when both belong to the same output.
std::string Difference(const CPLJSONObject& one, const CPLJSONObject& other) {
  constexpr std::array<std::pair<const char*, const char*>, 4> kKinds = {
      {{"command", "made by another command"},
       {"inputs", "made from other inputs, or from inputs that changed since"},
       {"mosaic", "made for an output of another size"},
       {"version", "made by another version of the program"}}};
  for (const auto& [key, kind] : kKinds)
    if (one.GetString(key) != other.GetString(key)) return kind;
  return "";
}

// Null when it is not a TIFF, or when GDAL tells anything about it: a TIFF that was cut short may
// open without some of its tags.
GDALDatasetUniquePtr OpenRaster(const fs::path& file) {
  const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
  CPLErrorReset();
  const char* const drivers[] = {"GTiff", nullptr};
  const char* const others[] = {nullptr};  // otherwise the folder would be searched for each part
  GDALDatasetUniquePtr raster(
      GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers, nullptr, others));
  return CPLGetLastErrorType() == CE_None ? std::move(raster) : nullptr;
}

// None when the file is not a whole part.
std::optional<Facts> ReadFacts(const fs::path& file) {
  const GDALDatasetUniquePtr raster = OpenRaster(file);
  const char* const text = raster ? raster->GetMetadataItem(kFacts, kDomain) : nullptr;
  CPLJSONDocument document;
  if (!text || !document.LoadMemory(text)) return std::nullopt;
  const CPLJSONObject json = document.GetRoot();
  const std::optional<RunReport> report = ReadReport(json);
  const bool isPart = report && json.GetString("part") == file.filename() &&
                      raster->GetRasterXSize() == report->plan.grid.columns &&
                      raster->GetRasterYSize() == report->plan.grid.rows &&
                      raster->GetBands().size() == report->bands.size();
  return isPart ? std::optional(Facts{json, *report}) : std::nullopt;
}

// "2,5-7", the form in which schedulers take the tasks of an array.
std::string RangesText(const std::vector<int>& numbers) {
  std::string text;
  for (std::size_t i = 0, end = 0; i < numbers.size(); i = end) {
    for (end = i + 1; end < numbers.size() && numbers[end] == numbers[end - 1] + 1;) ++end;
    text.append(i > 0 ? "," : "").append(std::to_string(numbers[i]));
    if (end > i + 1) text.append("-").append(std::to_string(numbers[end - 1]));
  }
  return text;
}

// The facts of all parts. Throws Failure, which names the parts that cannot be joined.
std::vector<Facts> ReadParts(const fs::path& folder, int count) {
  std::vector<Facts> parts;
  int firstPart = 0;
  std::map<std::string, std::vector<int>> faults;
  for (int number = 1; number <= count; ++number) {
    const fs::path file = folder / PartName({number, count});
    const std::optional<Facts> facts = ReadFacts(file);
    std::string fault;
    if (!facts)
      fault = fs::exists(file) ? "broken" : "missing";
    else if (parts.empty())
      firstPart = number;
    else if (fault = Difference(facts->json, parts.front().json); !fault.empty())
      fault += ", unlike part " + std::to_string(firstPart);
    if (fault.empty())
      parts.push_back(*facts);
    else
      faults[fault].push_back(number);
  }
  std::string list;
  for (const auto& [fault, numbers] : faults)
    list += (list.empty() ? "" : "; ") + fault + ": " + RangesText(numbers);
  if (list.empty()) return parts;
  throw Failure("cannot join the " + CountText(static_cast<unsigned>(count), "part") + " in " +
                folder.string() + ": " + list);
}

// The XML of one part as a source of a band of the VRT, from firstRow on.
std::string SourceXml(const std::string& raster, int band, const OutputGrid& part, int firstRow) {
  const std::unique_ptr<char, decltype(&VSIFree)> name(
      CPLEscapeString(raster.c_str(), -1, CPLES_XML), VSIFree);
  return CPLString().Printf(
      R"(<SimpleSource><SourceFilename relativeToVRT="1">%s</SourceFilename>)"
      R"(<SourceBand>%d</SourceBand><SrcRect xOff="0" yOff="0" xSize="%d" ySize="%d"/>)"
      R"(<DstRect xOff="0" yOff="%d" xSize="%d" ySize="%d"/></SimpleSource>)",
      name.get(), band, part.columns, part.rows, firstRow, part.columns, part.rows);
}

// Copies the properties of a band that are the same in all parts.
void CopyDescription(GDALRasterBand& part, GDALRasterBand& mosaic) {
  mosaic.SetDescription(part.GetDescription());
  mosaic.SetMetadata(part.GetMetadata());
  for (const char* const item : kStatisticsItems) mosaic.SetMetadataItem(item, nullptr);
  if (*part.GetUnitType() != '\0') mosaic.SetUnitType(part.GetUnitType());
  mosaic.SetColorInterpretation(part.GetColorInterpretation());
  if (const std::optional<double> value = DeclaredNoData(part)) mosaic.SetNoDataValue(*value);
}

// Makes the VRT file. It names the rasters of the parts relative to its final place.
void WriteMosaic(const fs::path& file, const fs::path& folder, const std::vector<Facts>& parts,
                 const RunReport& report) {
  const GdalFailures failures;
  const RunPlan& plan = report.plan;
  const int count = static_cast<int>(parts.size());
  const GDALDatasetUniquePtr first = OpenRaster(folder / PartName({1, count}));
  GDALDatasetUniquePtr mosaic(
      plan.format.driver->Create(file.c_str(), plan.grid.columns, plan.grid.rows,
                                 static_cast<int>(report.bands.size()), plan.mode->type, nullptr));
  if (first && mosaic) {
    // The first part has the same top left corner as the mosaic.
    CopyGeoreferencing(*first, {}, *mosaic);
    if (char** const rpc = first->GetMetadata("RPC")) mosaic->SetMetadata(rpc, "RPC");
    mosaic->SetMetadata(first->GetMetadata());
    mosaic->SetMetadataItem("LUMOMIXCALC_COMMAND", plan.command.c_str());
    for (int band = 1; band <= mosaic->GetRasterCount(); ++band) {
      GDALRasterBand& target = *mosaic->GetRasterBand(band);
      CopyDescription(*first->GetRasterBand(band), target);
      if (parts.front().json.GetBool("exact"))
        StoreStatistics(report.bands[static_cast<std::size_t>(band) - 1], *plan.mode, target);
      int row = 0;
      for (int number = 1; number <= count; ++number) {
        const OutputGrid& grid = parts[static_cast<std::size_t>(number) - 1].report.plan.grid;
        const std::string name = folder.filename() / PartName({number, count});
        target.SetMetadataItem(CPLSPrintf("source_%d", number - 1),
                               SourceXml(name, band, grid, row).c_str(), "new_vrt_sources");
        row += grid.rows;
      }
    }
  }
  mosaic.reset();
  if (!first || failures.Any())
    throw Failure("cannot write " + plan.output + ": " + failures.First());
}

// Reads an element through the mosaic. Throws Failure when GDAL does not find the parts by their
// names, which differ in nothing but numbers. The file is not yet at its place, the target.
void ReadBackMosaic(const fs::path& file, const fs::path& target) {
  const GdalFailures failures;
  CPLStringList options;
  options.SetNameValue("ROOT_PATH", CPLGetPath(target.c_str()));
  const GDALDatasetUniquePtr mosaic(GDALDataset::Open(
      file.c_str(), GDAL_OF_RASTER | GDAL_OF_VERBOSE_ERROR, nullptr, options.List()));
  std::array<double, 2> element = {};
  if (!mosaic || mosaic->RasterIO(GF_Read, 0, 0, 1, 1, element.data(), 1, 1, GDT_CFloat64, 1,
                                  nullptr, 0, 0, 0, nullptr) != CE_None)
    throw Failure("cannot write " + target.string() +
                  ": it does not read back: " + failures.First());
}

// Gives the warnings of a part, but for those that earlier parts gave with another example after
// the last colon.
void RepeatWarnings(const std::vector<std::string>& ofPart, const Warnings& warnings) {
  const std::vector<std::string> earlier = warnings.All();
  for (const std::string& warning : ofPart) {
    const std::string kind = warning.substr(0, warning.rfind(": "));
    if (std::ranges::none_of(earlier, [&](const auto& told) { return told.starts_with(kind); }))
      Warn(warning);
  }
}

// The rows of a block in the TIFF that a run of the whole output would make with these options.
int BlockRowsOf(const RunPlan& whole, const std::vector<std::string>& creationOptions) {
  CPLStringList options = CreationOptions(whole.format, creationOptions);
  const char* const profile = options.FetchNameValueDef("PROFILE", "GDALGeoTIFF");
  if (!EQUAL(profile, "GDALGeoTIFF"))
    throw Failure(std::string("-co=PROFILE=") + profile +
                  ": parts keep facts for the join in metadata, which need GDALGeoTIFF");
  options.SetNameValue("SPARSE_OK", "TRUE");  // otherwise the whole file would be filled in memory
  const GdalFailures failures;
  GDALDatasetUniquePtr tiff(whole.format.driver->Create(
      "/vsimem/lumomixcalc/whole.tif", whole.grid.columns, whole.grid.rows,
      static_cast<int>(whole.bands.size()), whole.mode->type, options.List()));
  if (!tiff) throw Failure("cannot make a GeoTIFF: " + failures.First());
  int columns = 0;
  int rows = 0;
  tiff->GetRasterBand(1)->GetBlockSize(&columns, &rows);
  tiff.reset();
  VSIRmdirRecursive("/vsimem/lumomixcalc");
  return rows;
}

}  // namespace

Part::Part(const Job& job, PlannedRun& run) : overwrite_(job.overwrite) {
  RunPlan& plan = run.plan;
  const int number = job.part->number;
  const int count = job.part->count;
  const std::string option = CPLSPrintf("-part=%d/%d", number, count);
  const fs::path folder = FolderOfParts(ResolveOutput(plan.output, true));
  CountOfParts(folder, count);
  const OutputGrid grid = plan.grid;  // of the whole output
  const int blockRows = BlockRowsOf(plan, job.creationOptions);
  const int blocks = DIV_ROUND_UP(grid.rows, blockRows);
  if (count > blocks)
    throw Failure(option + ": the output has " +
                  CountText(static_cast<unsigned>(grid.rows), "row") + " in blocks of " +
                  std::to_string(blockRows) + ", enough for " +
                  CountText(static_cast<unsigned>(blocks), "part"));
  common_.Add("part", PartName(*job.part));
  common_.Add("version", LUMOMIXCALC_VERSION);
  common_.Add("command", Utf8(plan.command));
  common_.Add("exact", !MayChangeValues(job.creationOptions));
  common_.Add("inputs", InputsText(run.files));
  common_.Add("mosaic", SizeText(grid.columns, grid.rows) + ", " +
                            CountText(plan.bands.size(), "band") + ", " + plan.mode->name +
                            ", blocks of " + std::to_string(blockRows));
  const auto boundary = [&](std::int64_t parts) {
    return static_cast<int>(std::min<std::int64_t>(parts * blocks / count * blockRows, grid.rows));
  };
  const int first = boundary(number - 1);
  const int inputRows = grid.resolution * grid.looks.y;
  plan.grid.rows = boundary(number) - first;
  plan.grid.window.y += first * inputRows;
  plan.grid.window.rows = plan.grid.rows * inputRows;
  plan.output = file_ = folder / PartName(*job.part);
  plan.command += " " + option;
}

std::optional<RunReport> Part::ReportIfDone() const {
  if (overwrite_ || !fs::exists(fs::symlink_status(file_))) return std::nullopt;
  const std::optional<Facts> facts = ReadFacts(file_);
  const std::string difference = facts ? Difference(facts->json, common_) : "not a whole part";
  if (difference.empty()) return facts->report;
  throw Failure(file_ + (facts ? " was " : " is ") + difference +
                "; -overwrite makes the part again");
}

void Part::StoreFacts(const RunReport& report, GDALDataset& raster) const {
  CPLJSONObject facts = AsJson(report, true);
  for (const CPLJSONObject& one : common_.GetChildren()) facts.Add(one.GetName(), one);
  raster.SetMetadataItem(kFacts, facts.Format(CPLJSONObject::PrettyFormat::Plain).c_str(), kDomain);
}

RunReport JoinParts(const std::string& name, const Job& job) {
  const Warnings warnings(job.strict);
  const fs::path target = ResolveOutput(name, job.overwrite);
  const fs::path folder = FolderOfParts(target);
  const int count = CountOfParts(folder, 0);
  if (count == 0) throw Failure("there are no parts of " + name + " in " + folder.string());
  std::optional<ReportFile> reportFile;
  if (!job.statisticsFile.empty()) {
    if (IsSameFile(fs::absolute(FollowLinks(job.statisticsFile)).parent_path(), folder))
      throw Failure("the statistics file " + job.statisticsFile + " would be in the folder " +
                    folder.string() + " of the parts; choose another name");
    reportFile.emplace(job.statisticsFile, job.overwrite, std::vector<InputFiles>(), target);
  }
  const std::vector<Facts> parts = ReadParts(folder, count);
  RunReport report;
  report.plan = parts.front().report.plan;
  report.plan.output = name;
  report.plan.format.driver = GetGDALDriverManager()->GetDriverByName("VRT");
  report.plan.grid.rows = 0;
  report.bands.resize(parts.front().report.bands.size());
  for (const Facts& facts : parts) {
    const RunReport& part = facts.report;
    report.plan.grid.rows += part.plan.grid.rows;
    report.seconds += part.seconds;
    report.imaginaryParts |= part.imaginaryParts;
    for (std::size_t i = 0; i < report.bands.size(); ++i) report.bands[i].AddPart(part.bands[i]);
    RepeatWarnings(part.warnings, warnings);
  }

  Publication publication(target, job.overwrite, {});
  const fs::path file = publication.Folder() / target.filename();
  WriteMosaic(file, folder, parts, report);
  ReadBackMosaic(file, target);
  WarnOfResults(report);
  report.warnings = warnings.All();
  warnings.RefuseIfStrict();
  if (reportFile) reportFile->Write(report);
  publication.Publish();
  if (reportFile) reportFile->Publish();
  return report;
}

}  // namespace lumomixcalc::standalone
