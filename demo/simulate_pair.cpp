// Simulates the images for scripts/demo: a pair of single-look complex radar images over a hilly
// land, and the land's heights before and after a landslide and a quarry.
//
// The radar flies along the image's columns, west of it, and looks east (to the right). For every
// cell, with the land's height h and the ground distance x from the west edge, in metres:
//
//   incidence    cos(i) = (cos(t) + hx sin(t)) / sqrt(1 + hx^2 + hy^2)
//   power        s      = ground * cos(i)^2 / sin(i)
//   phase        p      = 2 pi h / kHeightOfAmbiguity + 2 pi x / kFlatEarthFringe
//   reference    z1     = sqrt(s) n1
//   secondary    z2     = sqrt(s) (c n1 + sqrt(1 - c^2) n2) exp(-j p)
//
// hx and hy are the slopes, t is the look angle, c is the coherence. Slopes that face west are
// bright.
//
// n1 and n2 are independent circular Gaussian numbers of unit power: fully developed speckle. The
// expected interferogram z1 conj(z2) is then s c exp(j p): its phase counts the contour lines, one
// fringe for each kHeightOfAmbiguity of height, on top of the orbit's evenly spaced fringes.
//
// All random numbers come from fixed seeds through generators whose output the language or this
// file defines, so every machine simulates the same land and speckle, to the last digits that its
// math library gives.

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <exception>
#include <functional>
#include <iostream>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kColumns = 600;
constexpr int kRows = 500;
constexpr double kSpacing = 20.0;  // metres between cells
constexpr double kWest = 440000.0;
constexpr double kNorth = 5210000.0;
constexpr int kUtmZone = 32;

constexpr double kLookAngle = 35.0 * std::numbers::pi / 180.0;
constexpr double kHeightOfAmbiguity = 180.0;  // metres of height per fringe
constexpr double kFlatEarthFringe = 2400.0;   // metres of ground per fringe

constexpr std::uint64_t kSeed = 13;   // of the hills
constexpr double kLakeLevel = 430.0;  // metres
constexpr double kFieldsBelow = 690.0;
constexpr double kLandCoherence = 0.92;
constexpr double kLakeCoherence = 0.15;

template <typename T>
struct Image {
  std::vector<T> cells = std::vector<T>(static_cast<std::size_t>(kColumns) * kRows);

  T& At(int column, int row) { return cells[Index(column, row)]; }
  // Outside the image, the nearest cell is used.
  const T& At(int column, int row) const {
    return cells[Index(std::clamp(column, 0, kColumns - 1), std::clamp(row, 0, kRows - 1))];
  }

 private:
  static std::size_t Index(int column, int row) {
    return static_cast<std::size_t>(row) * kColumns + static_cast<std::size_t>(column);
  }
};

using Heights = Image<float>;
using RadarImage = Image<std::complex<float>>;

template <typename Function>
void ForEachCell(Function function) {
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < kColumns; ++column) function(column, row);
  }
}

// ---- Random numbers ------------------------------------------------------------------------

// The top 53 bits as a number in [0, 1).
double Uniform(std::uint64_t bits) { return static_cast<double>(bits >> 11U) * 0x1p-53; }

// A number in [0, 1) that belongs to the lattice point (x, y) of a seed's lattice (splitmix64).
double LatticeValue(std::int64_t x, std::int64_t y, std::uint64_t seed) {
  std::uint64_t z = static_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15U +
                    static_cast<std::uint64_t>(y) * 0xd1b54a32d192ed03U + seed;
  z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
  z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
  return Uniform(z ^ (z >> 31U));
}

// Circular complex Gaussian number of unit power (Box-Muller).
std::complex<double> Speckle(std::mt19937_64& random) {
  const double radius = std::sqrt(-std::log(1.0 - Uniform(random())));
  return std::polar(radius, 2.0 * std::numbers::pi * Uniform(random()));
}

// Smooth noise with one feature per unit of length, within about -0.7 to 0.7: at each corner of
// the unit cell a random slope that is 0 at the corner, blended over the cell.
double GradientNoise(double x, double y, std::uint64_t seed) {
  const auto x0 = static_cast<std::int64_t>(std::floor(x));
  const auto y0 = static_cast<std::int64_t>(std::floor(y));
  const double u = x - static_cast<double>(x0);
  const double v = y - static_cast<double>(y0);
  const auto corner = [&](int i, int j) {
    const double angle = 2.0 * std::numbers::pi * LatticeValue(x0 + i, y0 + j, seed);
    return std::cos(angle) * (u - i) + std::sin(angle) * (v - j);
  };
  const auto fade = [](double t) { return t * t * t * (t * (t * 6.0 - 15.0) + 10.0); };
  return std::lerp(std::lerp(corner(0, 0), corner(1, 0), fade(u)),
                   std::lerp(corner(0, 1), corner(1, 1), fade(u)), fade(v));
}

// ---- The land ------------------------------------------------------------------------------

// Fractal hills, each octave with half the width and 0.38 of the height of the one before,
// turned so that their lattices do not line up; a lake fills the valleys up to kLakeLevel.
Heights MakeLand() {
  constexpr int kOctaves = 6;
  Heights heights;
  ForEachCell([&](int column, int row) {
    double height = 700.0;
    double amplitude = 800.0;
    double width = 4200.0;
    for (int octave = 0; octave < kOctaves; ++octave) {
      const std::complex<double> place =
          std::polar(kSpacing / width, 0.6 + octave) * std::complex<double>(column, row);
      height += amplitude * GradientNoise(place.real(), place.imag(),
                                          static_cast<std::uint64_t>(octave) + kSeed);
      amplitude *= 0.38;
      width *= 0.5;
    }
    heights.At(column, row) = static_cast<float>(std::max(height, kLakeLevel));
  });
  return heights;
}

bool IsLake(double height) { return height <= kLakeLevel; }

struct Slope {
  double east;  // metres of height per metre of ground
  double south;
};

// Slope over 2 * reach cells around a cell.
Slope SlopeAt(const Heights& heights, int column, int row, int reach) {
  const double length = 2.0 * reach * kSpacing;
  return {(heights.At(column + reach, row) - heights.At(column - reach, row)) / length,
          (heights.At(column, row + reach) - heights.At(column, row - reach)) / length};
}

struct Place {
  int column;
  int row;
};

// The cell away from the image's edge and above the lake for which score is greatest.
Place FindPlace(const Heights& heights, const std::function<double(int, int)>& score) {
  constexpr int kMargin = 80;
  Place best{kMargin, kMargin};
  double bestScore = -HUGE_VAL;
  for (int row = kMargin; row < kRows - kMargin; ++row) {
    for (int column = kMargin; column < kColumns - kMargin; ++column) {
      if (heights.At(column, row) < kLakeLevel + 40.0) continue;
      if (const double s = score(column, row); s > bestScore) {
        bestScore = s;
        best = {column, row};
      }
    }
  }
  return best;
}

// The land after a landslide on its steepest slope, whose debris comes to rest below the scar, and
// after a quarry was dug where the land is most level.
Heights ChangeLand(const Heights& before) {
  const auto steepness = [&](int column, int row) {
    const Slope slope = SlopeAt(before, column, row, 15);
    return std::hypot(slope.east, slope.south);
  };
  const Place slide = FindPlace(before, steepness);
  const Place quarry =
      FindPlace(before, [&](int column, int row) { return -steepness(column, row); });
  const Slope uphill = SlopeAt(before, slide.column, slide.row, 15);
  const double norm = std::hypot(uphill.east, uphill.south);

  const auto bump = [](double u, double v, double length, double width) {
    return std::exp(-0.5 * (u * u / (length * length) + v * v / (width * width)));
  };
  Heights after = before;
  ForEachCell([&](int column, int row) {
    const double x = column - slide.column;
    const double y = row - slide.row;
    const double down = -(x * uphill.east + y * uphill.south) / norm;
    const double across = (x * uphill.south - y * uphill.east) / norm;
    // Length times width times height is the same for both: no rock is lost.
    const double scar = -18.0 * bump(down + 26.0, across, 13.0, 14.0);
    const double debris = 7.8 * bump(down - 24.0, across, 21.0, 20.0);
    const double radius = std::hypot(column - quarry.column, row - quarry.row) / 20.0;
    const double pit = std::min(0.0, -25.0 * (1.0 - radius * radius));
    after.At(column, row) += static_cast<float>(scar + debris + pit);
  });
  return after;
}

// ---- The radar's view ----------------------------------------------------------------------

// Power scattered by a ground of its kind, as a ratio: water, a patchwork of fields, or woods.
double GroundPower(double height, int column, int row) {
  const auto fromDecibel = [](double decibel) { return std::pow(10.0, decibel / 10.0); };
  if (IsLake(height)) return fromDecibel(-19.0);
  if (height > kFieldsBelow) return fromDecibel(-6.0);
  // Strips of fields that run across the image at a slant, every strip with its own offset.
  const double along = (0.94 * column + 0.34 * row) / 32.0;
  const double strip = std::floor((0.94 * row - 0.34 * column) / 17.0);
  const auto number = static_cast<std::int64_t>(strip);
  const double offset = LatticeValue(number, 0, 7U);
  const auto field = static_cast<std::int64_t>(std::floor(along + offset));
  return fromDecibel(-15.0 + 11.0 * LatticeValue(field, number, 8U));
}

// Expected power of a cell; see the formulas at the top.
double Power(const Heights& heights, int column, int row) {
  const Slope slope = SlopeAt(heights, column, row, 1);
  const double cosine = (std::cos(kLookAngle) + slope.east * std::sin(kLookAngle)) /
                        std::sqrt(1.0 + slope.east * slope.east + slope.south * slope.south);
  const double lit = std::clamp(cosine, 0.0, 0.99);  // keeps clear of the pole of 1 / sin(0)
  return GroundPower(heights.At(column, row), column, row) * lit * lit / std::sqrt(1.0 - lit * lit);
}

void SimulatePair(const Heights& heights, RadarImage& reference, RadarImage& secondary) {
  std::mt19937_64 random(20);
  ForEachCell([&](int column, int row) {
    const double height = heights.At(column, row);
    const double amplitude = std::sqrt(Power(heights, column, row));
    const double coherence = IsLake(height) ? kLakeCoherence : kLandCoherence;
    const double phase = 2.0 * std::numbers::pi *
                         (height / kHeightOfAmbiguity + column * kSpacing / kFlatEarthFringe);
    const auto common = Speckle(random);
    const auto changed = Speckle(random);
    reference.At(column, row) = std::complex<float>(amplitude * common);
    secondary.At(column, row) = std::complex<float>(
        amplitude * (coherence * common + std::sqrt(1.0 - coherence * coherence) * changed) *
        std::polar(1.0, -phase));
  });
}

// ---- Files ---------------------------------------------------------------------------------

// Writes a georeferenced GeoTIFF; throws std::runtime_error when that fails.
template <typename T>
void Write(Image<T>& image, GDALDataType type, const std::string& path) {
  const auto check = [&](bool ok) {
    if (!ok) throw std::runtime_error("Cannot write " + path + ": " + CPLGetLastErrorMsg());
  };
  CPLErrorReset();
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  check(driver != nullptr);
  GDALDatasetUniquePtr file(driver->Create(path.c_str(), kColumns, kRows, 1, type, nullptr));
  check(file != nullptr);
  double transform[] = {kWest, kSpacing, 0.0, kNorth, 0.0, -kSpacing};
  OGRSpatialReference utm;
  utm.SetWellKnownGeogCS("WGS84");
  utm.SetUTM(kUtmZone);
  check(file->SetGeoTransform(transform) == CE_None && file->SetSpatialRef(&utm) == CE_None);
  check(file->GetRasterBand(1)->RasterIO(GF_Write, 0, 0, kColumns, kRows, image.cells.data(),
                                         kColumns, kRows, type, 0, 0, nullptr) == CE_None);
  // Some write errors show only when the file is closed, and then only in the last error.
  file.reset();
  check(CPLGetLastErrorType() < CE_Failure);
}

void Simulate(const std::string& folder) {
  Heights before = MakeLand();
  Heights after = ChangeLand(before);
  RadarImage reference;
  RadarImage secondary;
  SimulatePair(before, reference, secondary);
  Write(reference, GDT_CFloat32, folder + "/reference.tif");
  Write(secondary, GDT_CFloat32, folder + "/secondary.tif");
  Write(before, GDT_Float32, folder + "/height_before.tif");
  Write(after, GDT_Float32, folder + "/height_after.tif");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: simulate_radar_pair FOLDER (an existing folder for the four images)\n";
    return 2;
  }
  try {
    GDALAllRegister();
    CPLSetErrorHandler(CPLQuietErrorHandler);
    Simulate(argv[1]);
  } catch (const std::exception& error) {
    std::cerr << "simulate_radar_pair: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
