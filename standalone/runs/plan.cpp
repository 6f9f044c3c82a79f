#include "standalone/runs/plan.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <set>
#include <span>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/rasters/data_modes.h"

namespace lumomixcalc::standalone {
namespace {

// Opens the inputs of the job, and has the application check them.
void OpenInputs(const Job& job, HostState& host, InputDatasets& datasets, PlannedRun& run) {
  const std::set<int> read = InputsRead(host);
  host.streams.clear();
  host.streams[host.registration.output.number].open = true;
  for (const DeclaredStream& declared : host.registration.inputs) {
    const auto file = job.inputs.find(declared.number);
    if (file == job.inputs.end()) continue;
    InputFiles& files = run.files.emplace_back(file->second);
    auto raster = std::make_unique<RasterInput>(declared.label, file->second, job.openOptions,
                                                std::move(datasets[declared.number]));
    files.Find(raster->Dataset());
    StreamState& state = host.streams[declared.number];
    state.open = true;
    state.mode = raster->Mode().code;
    run.inputs.push_back({declared.number, std::move(raster)});
  }
  for (std::size_t i = 0; i < run.files.size(); ++i)
    for (const InputFiles& other : run.files)
      if (&other != &run.files[i] && other.ShareSource(run.files[i]))
        run.inputs[i].raster->ReadByTurns();
  CheckParameters(host);
  std::erase_if(run.inputs, [&](const RunInput& input) { return !read.contains(input.stream); });
  if (run.inputs.empty()) throw Failure("the application reads none of the input files");
  for (const RunInput& input : run.inputs)
    if (const std::string others = input.raster->PassedOver(); !others.empty()) Warn(others);
}

std::string SizeAndBands(const RasterInput& raster) {
  return raster.Describe() + " has " + SizeText(raster.Columns(), raster.Rows()) + ", " +
         CountText(static_cast<std::uint64_t>(raster.Bands()), "band");
}

// The pixels of the area that a raster has, too, whose top left pixel lies at the offset. Without
// columns or rows when there are none.
PixelWindow Shared(const PixelWindow& area, const GridOffset& offset, const RasterInput& raster) {
  const double left = std::max<double>(area.x, offset.x);
  const double top = std::max<double>(area.y, offset.y);
  const double right = std::min<double>(area.x + area.columns, offset.x + raster.Columns());
  const double bottom = std::min<double>(area.y + area.rows, offset.y + raster.Rows());
  if (right <= left || bottom <= top) return {};
  return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
          static_cast<int>(bottom - top)};
}

// The end of a sentence: the command that makes a file of one raster on the grid of the other.
std::string HowToFit(RasterInput& first, RasterInput& other) {
  if (LieApart(other.Dataset(), first.Dataset())) return "; they share no area";
  std::string command = WarpCommand(other.Dataset(), other.Mode().FloatType(), first.Dataset());
  if (command.empty())
    command = WarpCommand(first.Dataset(), first.Mode().FloatType(), other.Dataset());
  return command.empty() ? "" : "; to make a file that fits: " + command;
}

// Settles where an input lies on the pixels of the first one, and the area that all share so far.
// Throws Failure when it does not fit the first one, and warns when it is combined with it although
// they do not lie in the same place.
void PlaceInput(const Job& job, RasterInput& first, const RunInput& input, RunPlan& plan) {
  RasterInput& raster = *input.raster;
  const std::string pair = first.Describe() + " and " + raster.Describe();
  const GridOffset offset = OffsetOnGrid(raster.Dataset(), first.Dataset());
  const PixelWindow shared = Shared(plan.area, offset, raster);
  const bool fits = offset.fits && shared.columns > 0;
  const std::string difference =
      offset.difference.empty() ? "they do not both have a geotransform" : offset.difference;
  const std::string help =
      fits ? "; " + SettingText("-extent", "intersection") + " combines the area that they share"
      : offset.fits ? ""
                    : HowToFit(first, raster);
  PixelPosition& origin = plan.origins[input.stream];
  if (job.selection.extent == Extent::kIntersection) {
    if (!fits) throw Failure(pair + " share no pixels of one grid: " + difference + help);
    origin = {static_cast<int>(offset.x), static_cast<int>(offset.y)};
    plan.area = shared;
  } else if (raster.Columns() != first.Columns() || raster.Rows() != first.Rows()) {
    throw Failure("the inputs differ in size: " + SizeAndBands(first) + ", " +
                  SizeAndBands(raster) + (fits ? help : "; " + difference + help));
  } else if (!offset.difference.empty()) {
    Warn(pair + " do not lie in the same place: " + difference + (fits ? help : ""));
  }
}

// The bands that the user chose, or else all. An input with one band goes with every band. Throws
// Failure when the inputs do not have them.
std::vector<int> ChosenBands(const Job& job, const std::vector<RunInput>& inputs) {
  int count = 1;
  std::vector<std::string> sizes;
  for (const RunInput& input : inputs) {
    count = std::max(count, input.raster->Bands());
    sizes.push_back(SizeAndBands(*input.raster));
  }
  std::vector<int> bands = job.bands;
  if (bands.empty()) {
    bands.resize(static_cast<std::size_t>(count));
    std::iota(bands.begin(), bands.end(), 1);
  }
  const int last = *std::ranges::max_element(bands);
  for (const RunInput& input : inputs)
    if (const int own = input.raster->Bands(); own < last && (own > 1 || count == 1))
      throw Failure((job.bands.empty()
                         ? "the inputs differ in the number of bands; choose by -bands="
                         : "-bands=: there is no band " + std::to_string(last)) +
                    ": " + Joined(sizes));
  return bands;
}

// A float mode if the user chose none, complex if an input that is read is complex.
const DataMode* ChosenMode(const Job& job, const std::vector<RunInput>& inputs) {
  if (job.mode) return job.mode;
  const bool complex = std::ranges::any_of(
      inputs, [](const RunInput& input) { return input.raster->Mode().complex; });
  return &DataModeOfType(complex ? GDT_CFloat32 : GDT_Float32);
}

OutputGrid ChosenGrid(const Job& job, const std::vector<RunInput>& inputs,
                      const PixelWindow& area) {
  std::optional<Geotransform> transform;
  for (const RunInput& input : inputs)
    if (!transform) transform = GeotransformOf(input.raster->Dataset());
  std::string name = inputs.front().raster->Describe();
  if (job.selection.extent == Extent::kIntersection)
    name = "the shared area " + ToText(area) + " of " + name;
  return MakeOutputGrid(job.selection, area, transform, name);
}

// The no-data value that the user named, otherwise the first one that an input declares, or NaN for
// an input that has a mask instead.
std::optional<double> InputNoData(const RunPlan& plan, const std::vector<RunInput>& inputs) {
  if (plan.elements.keepNoData) return std::nullopt;
  if (plan.elements.noData) return plan.elements.noData;
  for (const RunInput& input : inputs)
    for (const int band : plan.bands) {
      const int own = input.BandFor(band);
      if (const std::optional<double> value = input.raster->NoData(own)) return value;
      if (input.raster->HasMask(own)) return std::numeric_limits<double>::quiet_NaN();
    }
  return std::nullopt;
}

// Warns of declared no-data values that -nodata= makes numbers.
void WarnOfReplacedNoData(const RunPlan& plan, const std::vector<RunInput>& inputs) {
  if (!plan.elements.noData) return;
  const auto asked = static_cast<float>(*plan.elements.noData);
  for (const RunInput& input : inputs)
    for (const int band : plan.bands) {
      const double declared = input.raster->NoData(input.BandFor(band)).value_or(NAN);
      if (std::isnan(declared) || static_cast<float>(declared) == asked) continue;
      Warn(input.raster->Describe() + " declares the no-data value " + ShortestText(declared) +
           ", which is a number with -nodata=" + ShortestText(*plan.elements.noData));
      break;
    }
}

// The value that -a_nodata= asks for, as the mode holds it. Throws Failure when it cannot.
double HeldNoData(double asked, const DataMode& mode) {
  const std::string text = ShortestText(asked);
  if (mode.integer ? IntegerNoData(mode, asked) != asked : !ParseFloat(text))
    throw Failure("-a_nodata=" + text + ": " + (mode.integer ? mode.name : "single precision") +
                  " cannot hold it");
  return mode.integer ? asked : static_cast<double>(static_cast<float>(asked));
}

std::optional<double> OutputNoData(const Job& job, const RunPlan& plan,
                                   const std::vector<RunInput>& inputs) {
  const DataMode& mode = *plan.mode;
  const std::string format = plan.format.driver ? plan.format.Name() : "";
  if (job.outputNoData && !format.empty()) return HeldNoData(*job.outputNoData, mode);
  const std::optional<double> declared = InputNoData(plan, inputs);
  // Programs that read text grids do not understand NaN, which may be a result, too.
  constexpr double kOfTextGrids = -9999;
  if ((format == "AAIGrid" || format == "XYZ") && !mode.integer) return kOfTextGrids;
  // In netCDF, but for bytes, one value is no data in any case, and GDAL takes NaN as that value.
  if (!declared && (format != "netCDF" || mode.type == GDT_Byte)) return std::nullopt;
  return mode.integer ? IntegerNoData(mode, declared.value_or(NAN))
                      : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

PlannedRun PlanRun(const Job& job, const std::string& command, HostState& host,
                   InputDatasets datasets) {
  for (const std::string& warning : job.warnings) Warn(warning);
  PlannedRun run;
  RunPlan& plan = run.plan;
  plan.command = command;
  plan.output = job.output;
  if (!job.output.empty()) {
    plan.format = ChooseOutputFormat(job.part ? "GTiff" : job.format, job.output);
    CheckCreationOptions(plan.format, job.creationOptions);
  }
  OpenInputs(job, host, datasets, run);
  const std::vector<RunInput>& inputs = run.inputs;
  plan.mode = ChosenMode(job, inputs);
  plan.modeAsked = job.mode != nullptr;
  plan.bands = ChosenBands(job, inputs);
  RasterInput& first = *inputs.front().raster;
  plan.area = {0, 0, first.Columns(), first.Rows()};
  plan.origins[inputs.front().stream] = {};
  for (const RunInput& input : std::span(inputs).subspan(1)) PlaceInput(job, first, input, plan);
  plan.grid = ChosenGrid(job, inputs, plan.area);
  plan.resampling = job.selection.resampling;
  plan.elements = job.elements;
  WarnOfReplacedNoData(plan, inputs);
  plan.noData = OutputNoData(job, plan, inputs);
  if (plan.resampling != Resampling::kNearest && plan.grid.resolution == 1)
    Warn("the resampling method has no effect at full resolution");
  if (plan.mode->type == GDT_Float64)
    Warn("results have single precision, also in float64; float32 stores them in half the space");
  if (plan.mode->complex && std::ranges::count(host.echoedOptions, "-clamp") > 0)
    Warn("a complex output is not clamped");
  if (plan.format.driver) CheckThatFormatHolds(plan.format, *plan.mode);
  return run;
}

std::vector<int> RunInput::BandsFor(const std::vector<int>& bands) const {
  std::vector<int> own;
  for (const int band : bands)
    if (own.empty() || own.back() != BandFor(band)) own.push_back(BandFor(band));
  return own;
}

void SelectInputs(const RunPlan& plan, const std::vector<RunInput>& inputs) {
  for (const RunInput& input : inputs)
    input.raster->Select(plan.grid.BeforeLooks().On(plan.origins.at(input.stream)), plan.resampling,
                         input.BandsFor(plan.bands), plan.elements);
}

}  // namespace lumomixcalc::standalone
