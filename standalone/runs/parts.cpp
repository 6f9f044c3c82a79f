#include "standalone/runs/parts.h"

#include <cpl_string.h>
#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "standalone/base/messages.h"
#include "standalone/base/texts.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/grid.h"
#include "standalone/rasters/publication.h"
#include "standalone/runs/run.h"
#include "standalone/runs/statistics.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;
namespace {

// The metadata of a part's raster that holds the facts of the part.
constexpr const char* kDomain = "LUMOMIXCALC_PART";
constexpr const char* kFacts = "FACTS";

fs::path FolderOfParts(fs::path mosaic) { return mosaic.replace_extension(".parts"); }

std::string NameOf(const PartNumber& part) {
  return std::to_string(part.number) + "-of-" + std::to_string(part.count) + ".tif";
}

// N for names like "K-of-N.tif". 0 for any other name.
int CountInName(const std::string& name) {
  const std::vector<std::string> words = Split(name.substr(0, name.find('.')), '-');
  const bool isPart = words.size() == 3 && ParseInt(words[0]) && words[1] == "of";
  return isPart ? ParseInt(words[2]).value_or(0) : 0;
}

// The N of the parts "K-of-N" in the folder, or count when there are none. Throws Failure when N is
// not count, unless count is 0.
int CountOfParts(const fs::path& folder, int count) {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    const std::string name = entry.path().filename();
    const int found = CountInName(name);
    if (found == 0) continue;
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
std::string InputsText(const Session& session) {
  std::string text;
  for (const InputFiles& input : session.Files())
    for (const std::string& file : input.files) {
      VSIStatBufL status = {};
      text += VSIStatL(file.c_str(), &status) == 0 ? "" : "no file, ";
      text += file + ": " + std::to_string(status.st_size) + " bytes, " +
              std::to_string(status.st_mtim.tv_sec) + " s " +
              std::to_string(status.st_mtim.tv_nsec) + " ns\n";
    }
  return Utf8(text);
}

// How a part differs from another, for a message. Empty when both belong to the same output.
std::string Difference(const CPLJSONObject& one, const CPLJSONObject& other) {
  constexpr std::array<std::pair<const char*, const char*>, 4> kKinds = {
      {{"command", "of another command"},
       {"inputs", "of other inputs, or of inputs that changed since"},
       {"mosaic", "of an output of another size"},
       {"version", "of another version of the program"}}};
  for (const auto& [key, kind] : kKinds)
    if (one.GetString(key) != other.GetString(key)) return kind;
  return "";
}

CPLJSONArray AsJson(const ExactSum& sum) {
  CPLJSONArray terms;
  for (const double term : sum.Terms()) terms.Add(ShortestText(term));
  return terms;
}

double NumberAt(const CPLJSONObject& object, const char* name) {
  return ParseDouble(object.GetString(name)).value_or(0);
}

std::uint64_t CountAt(const CPLJSONObject& object, const char* name) {
  return static_cast<std::uint64_t>(object.GetLong(name));
}

void AddTerms(CPLJSONArray terms, ExactSum& sum) {
  for (int i = 0; i < terms.Size(); ++i) sum.Add(ParseDouble(terms[i].ToString()).value_or(0));
}

// Reads the statistics of a band of the facts, exact to the bit.
BandStatistics BandOf(const CPLJSONObject& object) {
  BandStatistics band;
  band.valid.valid = CountAt(object, "valid");
  band.valid.noData = CountAt(object, "no_data");
  if (band.valid.valid > 0) {
    band.valid.minimum = static_cast<float>(NumberAt(object, "minimum"));
    band.valid.maximum = static_cast<float>(NumberAt(object, "maximum"));
  }
  AddTerms(object.GetArray("sum_terms"), band.valid.sum);
  AddTerms(object.GetArray("square_terms"), band.valid.squares);
  band.altered = {CountAt(object, "saturated"), CountAt(object, "moved"), CountAt(object, "taken"),
                  CountAt(object, "zeroed")};
  band.record = {static_cast<float>(NumberAt(object, "record/minimum")),
                 static_cast<float>(NumberAt(object, "record/maximum")),
                 static_cast<float>(NumberAt(object, "record/sum"))};
  return band;
}

RunReport ReportOf(const CPLJSONObject& facts) {
  RunReport report;
  report.command = facts.GetString("command");
  report.mode = facts.GetString("mode");
  report.grid.columns = facts.GetInteger("columns");
  report.grid.rows = facts.GetInteger("rows");
  report.grid.looks = {facts.GetArray("looks")[0].ToInteger(),
                       facts.GetArray("looks")[1].ToInteger()};
  report.seconds = facts.GetDouble("seconds");
  CPLJSONArray bands = facts.GetArray("bands");
  for (int i = 0; i < bands.Size(); ++i) report.bands.push_back(BandOf(bands[i]));
  report.imaginaryPartsLost = facts.GetBool("imaginary_parts_lost");
  report.imaginaryPartsHeld = facts.GetBool("imaginary_parts_held");
  return report;
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

// The facts of a part. None when the file is not a whole part.
std::optional<CPLJSONObject> ReadFacts(const fs::path& file) {
  const GDALDatasetUniquePtr raster = OpenRaster(file);
  const char* const text = raster ? raster->GetMetadataItem(kFacts, kDomain) : nullptr;
  CPLJSONDocument document;
  if (!text || !document.LoadMemory(text)) return std::nullopt;
  const CPLJSONObject facts = document.GetRoot();
  const bool isPart = facts.GetString("part") == file.filename() &&
                      FindDataMode(facts.GetString("mode")) != nullptr &&
                      raster->GetRasterXSize() == facts.GetInteger("columns") &&
                      raster->GetRasterYSize() == facts.GetInteger("rows") &&
                      raster->GetRasterCount() == facts.GetArray("bands").Size();
  return isPart ? std::optional(facts) : std::nullopt;
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
std::vector<CPLJSONObject> ReadParts(const fs::path& folder, int count) {
  std::vector<CPLJSONObject> parts;
  int firstPart = 0;
  std::map<std::string, std::vector<int>> faults;
  for (int number = 1; number <= count; ++number) {
    const fs::path file = folder / NameOf({number, count});
    const std::optional<CPLJSONObject> facts = ReadFacts(file);
    std::string fault;
    if (!facts)
      fault = fs::exists(file) ? "broken" : "missing";
    else if (parts.empty())
      firstPart = number;
    else if (fault = Difference(*facts, parts.front()); !fault.empty())
      fault += ", unlike part " + std::to_string(firstPart);
    if (fault.empty())
      parts.push_back(*facts);
    else
      faults[fault].push_back(number);
  }
  std::string sentence;
  for (const auto& [fault, numbers] : faults)
    sentence += (sentence.empty() ? "" : "; ") +
                std::string(numbers.size() > 1 ? "parts " : "part ") + RangesText(numbers) +
                " of " + std::to_string(count) + (numbers.size() > 1 ? " are " : " is ") + fault;
  if (!sentence.empty())
    throw Failure("cannot join what is in " + folder.string() + ": " + sentence);
  return parts;
}

// The XML of one part as a source of a band of the VRT.
std::string SourceXml(const std::string& raster, int band, int columns, int firstRow, int rows) {
  const std::unique_ptr<char, decltype(&VSIFree)> name(
      CPLEscapeString(raster.c_str(), -1, CPLES_XML), VSIFree);
  return CPLString().Printf(
      R"(<SimpleSource><SourceFilename relativeToVRT="1">%s</SourceFilename>)"
      R"(<SourceBand>%d</SourceBand><SrcRect xOff="0" yOff="0" xSize="%d" ySize="%d"/>)"
      R"(<DstRect xOff="0" yOff="%d" xSize="%d" ySize="%d"/></SimpleSource>)",
      name.get(), band, columns, rows, firstRow, columns, rows);
}

// Copies the properties of a band that are the same in all parts.
void DescribeBand(GDALRasterBand& part, GDALRasterBand& mosaic) {
  mosaic.SetDescription(part.GetDescription());
  if (*part.GetUnitType() != '\0') mosaic.SetUnitType(part.GetUnitType());
  mosaic.SetColorInterpretation(part.GetColorInterpretation());
  if (const std::optional<double> value = DeclaredNoData(part)) mosaic.SetNoDataValue(*value);
}

// Makes the VRT file. It names the rasters of the parts relative to its final place.
void WriteMosaic(const fs::path& file, const fs::path& folder,
                 const std::vector<CPLJSONObject>& parts, const RunReport& report) {
  const GdalFailures failures;
  const DataMode& mode = *FindDataMode(report.mode);
  const int count = static_cast<int>(parts.size());
  const GDALDatasetUniquePtr first = OpenRaster(folder / NameOf({1, count}));
  GDALDatasetUniquePtr mosaic(GetGDALDriverManager()->GetDriverByName("VRT")->Create(
      file.c_str(), report.grid.columns, report.grid.rows, static_cast<int>(report.bands.size()),
      mode.type, nullptr));
  if (first && mosaic) {
    // The first part has the same top left corner as the mosaic.
    CopyGeoreferencing(*first, {}, *mosaic);
    if (char** const rpc = first->GetMetadata("RPC")) mosaic->SetMetadata(rpc, "RPC");
    mosaic->SetMetadata(first->GetMetadata());
    mosaic->SetMetadataItem("LUMOMIXCALC_COMMAND", report.command.c_str());
    for (int band = 1; band <= mosaic->GetRasterCount(); ++band) {
      GDALRasterBand& target = *mosaic->GetRasterBand(band);
      DescribeBand(*first->GetRasterBand(band), target);
      if (parts.front().GetBool("exact"))
        StoreStatistics(report.bands[static_cast<std::size_t>(band) - 1], mode, target);
      int row = 0;
      for (int number = 1; number <= count; ++number) {
        const int rows = parts[static_cast<std::size_t>(number) - 1].GetInteger("rows");
        target.SetMetadataItem(("source_" + std::to_string(number - 1)).c_str(),
                               SourceXml(folder.filename() / NameOf({number, count}), band,
                                         report.grid.columns, row, rows)
                                   .c_str(),
                               "new_vrt_sources");
        row += rows;
      }
    }
  }
  mosaic.reset();
  if (!first || failures.Any())
    throw Failure("cannot write " + report.output + ": " + failures.First());
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

// The rows of a block in the TIFF that a run of the whole output would make with these options.
int BlockRowsOf(const Session& session, const OutputFormat& format, const Job& job) {
  CPLStringList options = CreationOptions(format, job.creationOptions);
  const char* const profile = options.FetchNameValueDef("PROFILE", "GDALGeoTIFF");
  if (!EQUAL(profile, "GDALGeoTIFF"))
    throw Failure(std::string("-co=PROFILE=") + profile +
                  ": parts keep facts for the join in metadata, which need GDALGeoTIFF");
  options.SetNameValue("SPARSE_OK", "TRUE");  // otherwise the whole file would be filled in memory
  const GdalFailures failures;
  GDALDatasetUniquePtr tiff(format.driver->Create(
      "/vsimem/lumomixcalc/whole.tif", session.Grid().columns, session.Grid().rows,
      static_cast<int>(session.Bands().size()), session.Mode().type, options.List()));
  if (!tiff) throw Failure("cannot make a GeoTIFF: " + failures.First());
  int columns = 0;
  int rows = 0;
  tiff->GetRasterBand(1)->GetBlockSize(&columns, &rows);
  tiff.reset();
  VSIRmdirRecursive("/vsimem/lumomixcalc");
  return rows;
}

}  // namespace

Part::Part(const Job& job, const std::string& command, const OutputFormat& format, Session& session)
    : number_(*job.part), overwrite_(job.overwrite) {
  const fs::path folder = FolderOfParts(ResolveOutput(job.files.at(session.OutputStream()), true));
  raster_ = folder / NameOf(number_);
  CountOfParts(folder, number_.count);
  common_.Add("part", NameOf(number_));
  common_.Add("version", LUMOMIXCALC_VERSION);
  common_.Add("command", Utf8(command));
  common_.Add("exact", !MayChangeValues(job.creationOptions));
  common_.Add("inputs", InputsText(session));
  LimitRows(job, format, session);
}

std::string Part::Option() const {
  return "-part=" + std::to_string(number_.number) + "/" + std::to_string(number_.count);
}

void Part::LimitRows(const Job& job, const OutputFormat& format, Session& session) {
  const OutputGrid& grid = session.Grid();
  const int blockRows = BlockRowsOf(session, format, job);
  const int blocks = (grid.rows - 1) / blockRows + 1;
  if (number_.count > blocks)
    throw Failure(Option() + ": the output has " +
                  CountText(static_cast<unsigned>(grid.rows), "row") + " in blocks of " +
                  std::to_string(blockRows) + ", enough for " +
                  CountText(static_cast<unsigned>(blocks), "part"));
  common_.Add("mosaic", SizeText(grid.columns, grid.rows) + ", " +
                            CountText(session.Bands().size(), "band") + ", " + session.Mode().name +
                            ", blocks of " + std::to_string(blockRows));
  const auto boundary = [&](std::int64_t number) {
    return static_cast<int>(
        std::min<std::int64_t>(number * blocks / number_.count * blockRows, grid.rows));
  };
  const int first = boundary(number_.number - 1);
  session.LimitRows(first, boundary(number_.number) - first);
}

std::optional<RunReport> Part::ReportIfDone() const {
  if (overwrite_ || !fs::exists(fs::symlink_status(raster_))) return std::nullopt;
  const std::optional<CPLJSONObject> facts = ReadFacts(raster_);
  const std::string difference = facts ? Difference(*facts, common_) : "no whole part";
  if (!difference.empty())
    throw Failure(raster_.string() + ", which is there, is " + difference +
                  "; -overwrite makes the part again");
  return ReportOf(*facts);
}

void Part::StoreFacts(const RunReport& report, GDALDataset& raster) const {
  CPLJSONDocument document;
  static_cast<void>(document.LoadMemory(ReportAsJson(report)));
  CPLJSONObject facts = document.GetRoot();
  for (const CPLJSONObject& one : common_.GetChildren()) facts.Add(one.GetName(), one);
  facts.Add("imaginary_parts_lost", report.imaginaryPartsLost);
  facts.Add("imaginary_parts_held", report.imaginaryPartsHeld);
  CPLJSONArray bands = facts.GetArray("bands");
  for (int i = 0; i < bands.Size(); ++i) {
    const ValidStatistics& valid = report.bands[static_cast<std::size_t>(i)].valid;
    bands[i].Add("sum_terms", AsJson(valid.sum));
    bands[i].Add("square_terms", AsJson(valid.squares));
  }
  raster.SetMetadataItem(kFacts, document.SaveAsString().c_str(), kDomain);
}

RunReport JoinParts(const std::string& name, const Job& job) {
  ForgetShownWarnings();
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
  const std::vector<CPLJSONObject> parts = ReadParts(folder, count);
  RunReport report = ReportOf(parts.front());
  report.output = name;
  report.format = "VRT";
  report.grid.rows = 0;
  report.seconds = 0;
  for (BandStatistics& band : report.bands) band = {};
  for (const CPLJSONObject& facts : parts) {
    const RunReport part = ReportOf(facts);
    report.grid.rows += part.grid.rows;
    report.seconds += part.seconds;
    report.imaginaryPartsLost |= part.imaginaryPartsLost;
    report.imaginaryPartsHeld |= part.imaginaryPartsHeld;
    for (std::size_t i = 0; i < report.bands.size(); ++i) report.bands[i].AddPart(part.bands[i]);
  }

  Publication publication(target, job.overwrite, {});
  const fs::path file = publication.Folder() / target.filename();
  WriteMosaic(file, folder, parts, report);
  ReadBackMosaic(file, target);
  if (reportFile) reportFile->Write(ReportAsJson(report));
  publication.Publish();
  if (reportFile) reportFile->Publish();
  WarnOfResults(report);
  return report;
}

}  // namespace lumomixcalc::standalone
