#!/usr/bin/python3
"""Every operator on random images, with random options, agrees with its formula in NumPy; what the
output declares and the report tells agrees with the elements and with what the images declare; a run
in parts, or by the command that it stores, agrees with the run. That elements are right to the last
bit is for the kernels' tests to say.

For SECONDS with new seeds, or with those from FIRST_SEED on, to repeat a failure:
    LUMOMIXCALC=/path/to/lumomixcalc tests/end_to_end/operators_test.py SECONDS [FIRST_SEED]
"""

import itertools
import math
import os
import subprocess
import sys
import time
import unittest
from pathlib import Path

import numpy as np
from osgeo import gdal, osr

import harness
from harness import GEOTRANSFORM, RPC, equal

np.seterr(invalid="ignore")  # NaN is among the elements

FORMULAS = {  # of A, B, File1 and File2; a real result is the real part
    "a1+b2": lambda a, b, f, g: a * f + b * g,
    "a1-b2": lambda a, b, f, g: a * f - b * g,
    "a1b2": lambda a, b, f, g: a * f * b * g,
    "a1/b2": lambda a, b, f, g: a * f / (b * g),
    "a1_conj_b2": lambda a, b, f, g: a * f * np.conj(b * g),
    "abs_a1": lambda a, b, f, g: abs(a * f),
    "conj_a1": lambda a, b, f, g: np.conj(a * f),
    "a_phase_1": lambda a, b, f, g: a * np.angle(f),
    "a1+b": lambda a, b, f, g: a * f + b,
    "a1b": lambda a, b, f, g: a * f * b,
    "a/b2": lambda a, b, f, g: a / (b * g),
    "a_ln_1+b": lambda a, b, f, g: a * np.log(f + b),
    "1+b_pow_a": lambda a, b, f, g: (f + b) ** a,
}
TYPES = ("Float32", "Float64", "CFloat32", "Int16", "UInt16", "CFloat64", "Byte", "UInt32", "Int32",
         "CInt16", "CInt32")  # ENVI has none of the last two
LAYOUTS = (("GTiff",), ("GTiff", "INTERLEAVE=BAND"), ("GTiff", "INTERLEAVE=BAND", "BLOCKYSIZE=3"),
           ("GTiff", "TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=16"), ("GTiff", "COMPRESS=DEFLATE"),
           ("GTiff", "BIGTIFF=YES"), ("GTiff", "ENDIANNESS=BIG"), ("ENVI", "INTERLEAVE=BSQ"),
           ("ENVI", "INTERLEAVE=BIL"), ("ENVI", "INTERLEAVE=BIP"))
MODES = {"float32": 0, "cfloat32": 0, "float64": 0, "byte": "uint8", "int16": "int16",
         "uint16": "uint16", "int32": "int32", "uint32": "uint32", "cint16": "int16"}  # and integers' types
GRIDS = (GEOTRANSFORM, GEOTRANSFORM, (100.0, 3.0, 4.0, 200.0, 4.0, -3.0),
         (0.0, 0.1, 0.0, 0.0, 0.0, -0.3))  # of decimals that no double holds
NAMES = ("", "-", "it's $HOME;", "two umlauts-ä", "bell\a's \\x41")  # begin with these
OF_THE_INPUT = ("NODATA_VALUES", "TIFFTAG_MINSAMPLEVALUE", "NITF_BLOCKA_FRFC_LOC_01", "Band_1",
                "NETCDF_DIM_time_VALUES", "t#_FillValue", "TIFFTAG_IMAGEDESCRIPTION")
HOLE = 37  # the value that marks no data
RELATIVE_ERROR = 1e-5  # of the complex power, which works in single precision; others err less


def looks(elements, nx, ny):
    """Averages of nx x ny elements without NaN."""
    bands, rows, columns = elements.shape
    blocks = elements[:, :rows // ny * ny, :columns // nx * nx].reshape(
        bands, rows // ny, ny, columns // nx, nx)
    return np.nansum(blocks, axis=(2, 4)) / (~np.isnan(blocks)).sum(axis=(2, 4))


class Image:
    """An input of a run, whose pixel left, top is the first one of the area that all inputs share."""

    def __init__(self, path, left, top):
        self.left, self.top, self.dataset = left, top, gdal.Open(path)
        self.bands = [self.dataset.GetRasterBand(i + 1) for i in range(self.dataset.RasterCount)]
        # Not the pixels written: GDAL stores a strip of no data alone in the wrong order of bytes.
        self.elements = np.stack([band.ReadAsArray() for band in self.bands])
        self.is_complex = np.iscomplexobj(self.elements)

    def band(self, number):
        return self.bands[number if len(self.bands) > 1 else 0]

    def has_mask(self):
        return bool(self.bands[0].GetMaskFlags() & gdal.GMF_PER_DATASET)

    def numbers(self, rule, unscale):
        """The elements as complex numbers, NaN where the run shall take them as no data."""
        numbers = self.elements + 0j
        for band, pixels in zip(self.bands, numbers):
            missing = np.zeros(pixels.shape, bool)
            if rule == str(HOLE) or rule is None and band.GetNoDataValue() == HOLE:
                missing |= (pixels == HOLE) | (pixels == HOLE * (1 + 1j))
            missing |= np.isnan(pixels) & (rule != "keep")
            if rule != "keep" and self.has_mask():
                missing |= band.GetMaskBand().ReadAsArray() == 0
            pixels[missing] = complex(np.nan, np.nan)
            if unscale:
                pixels *= 1 if band.GetScale() is None else band.GetScale()
                pixels += band.GetOffset() or 0
        return numbers


class Operators(harness.ProgramTest):
    first_seed = seconds = 0

    def test_random_runs(self):
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)
        end = time.monotonic() + self.seconds
        for seed in itertools.count(self.first_seed):
            if seed >= self.first_seed + 3 * len(FORMULAS) and time.monotonic() >= end:
                break
            with self.subTest(seed=seed):
                self.check(seed)
        print(f"{seed - self.first_seed} random runs, of the seeds from {self.first_seed} on",
              file=sys.__stdout__, flush=True)

    def pick(self, *choices):
        return choices[self.random.integers(len(choices))]

    def number(self, first, last):
        return int(self.random.integers(first, last + 1))

    def coefficient(self):
        """Of a positive real part: no sum with a pixel is zero or has no real logarithm."""
        return complex(self.number(1, 8) / 4, self.number(-8, 8) / 4 * self.pick(0, 1))

    def write_input(self, path, layout, shape, place, grid, system):
        """Writes an image, with a place on the grid if it must have one."""
        driver, *creation = layout
        name = self.pick(*TYPES[:-2 if driver == "ENVI" else None])
        is_complex = name.startswith("C")
        pixels = self.random.integers(1, 100, shape) + 0j
        pixels.imag = self.random.integers(-100, 100, shape) * is_complex
        pixels /= 4 if "Float" in name else 1
        holes = self.random.random(shape) < self.pick(0, 0.2, 1)
        holes[:, self.number(0, shape[1]):] |= self.pick(True, False)  # a whole strip or part
        marks = [HOLE, HOLE * (1 + 1j), *[np.nan, complex(1, np.nan)] * ("Float" in name)]
        pixels[holes] = self.pick(*marks[::2 - is_complex])
        left, top = place or (0, 0)
        georeferencing = "grid" if place else self.pick("grid", "points", "")
        missing = self.pick("value", "mask", "")

        def describe(dataset):
            a, b, c, d, e, f = grid
            if georeferencing == "grid":
                dataset.SetProjection(system)
                dataset.SetGeoTransform((a - left * b - top * c, b, c, d - left * e - top * f, e, f))
            elif georeferencing == "points":
                dataset.SetGCPs([gdal.GCP(i, i * i, -i, 3 * i, 5 * i % 7) for i in range(4)],
                                osr.GetUserInputAsWKT("EPSG:4326"))
            dataset.FlushCache()  # GDAL 3.6 swaps no bytes of strips that are wholly no data
            dataset.SetMetadata(self.pick(RPC, {}), "RPC")
            dataset.SetMetadata(self.pick({}, {
                "SENSOR": path[-9:], "AREA_OR_POINT": "Point", "TIFFTAG_XRESOLUTION": "300",
                "TIFFTAG_YRESOLUTION": "60", **dict.fromkeys(OF_THE_INPUT, "ImageJ=1 2 3 4")}))
            for i in range(dataset.RasterCount):
                band = dataset.GetRasterBand(i + 1)
                if missing == "value":
                    band.SetNoDataValue(HOLE)
                if self.pick(True, False):
                    band.SetMetadata({"KEY": f"{path[-9:]}-{i}", "scale_factor": "3",
                                      "STATISTICS_MEAN": "-5"})
                    band.SetUnitType(f"unit {i}")
                if self.pick(True, False):
                    band.SetDescription(f"band {path[-9:]}-{i}")
                if self.pick(True, False, False):
                    band.SetScale(self.pick(0.5, 1))
                    band.SetOffset(self.pick(0, i + 1))
            if missing == "mask":
                dataset.CreateMaskBand(gdal.GMF_PER_DATASET)
                mask = dataset.GetRasterBand(1).GetMaskBand()
                mask.WriteArray(self.random.integers(0, 3, shape[1:], np.uint8))
        harness.write(path, pixels if is_complex else pixels.real, *creation, type=name, format=driver,
                      change=describe)
        if "\a" not in path and self.pick(True, False, False):  # whose bands can differ in what they declare
            vrt = gdal.Translate(f"{path}.vrt", path, format="VRT")
            for i in range(len(pixels)):
                if missing == "value" and self.pick(True, False):
                    vrt.GetRasterBand(i + 1).DeleteNoDataValue()
            path = f"{path}.vrt"
            vrt = None
        return path, Image(path, left, top)

    def check(self, seed):
        """Makes all choices of a run; compares what it gives."""
        self.random = np.random.default_rng(seed)
        operator = list(FORMULAS)[seed % len(FORMULAS)]
        used = [n for n in "12" if n in operator]
        # Sometimes wide, for several strips.
        bands, rows, columns = self.number(1, 3), self.number(1, 60), self.number(1, 60)
        columns *= self.pick(*[1] * 9, 60)
        single = self.pick(None, None, None, *used)  # has one band, to go with each of the other's
        shares, grid, begin = self.pick(False, len(used) == 2), self.pick(*GRIDS), self.pick(*NAMES)
        system = self.pick(osr.GetUserInputAsWKT("EPSG:32632"), "")
        images, paths, sides = {}, {}, np.zeros((4, 2), int)  # what each image has beside the shared area
        if shares:
            sides[range(4), self.random.integers(0, 2, 4)] = self.random.integers(0, 9, 4)
        for (left, top, right, bottom), n in zip(sides.T, used):
            extra = self.pick(0, 0, 1)  # a band that another input may not have
            shape = 1 if n == single else bands + extra, rows + top + bottom, columns + left + right
            paths[n], images[n] = self.write_input(
                f"{begin}{seed:07}-{n}", LAYOUTS[(seed + 3 * int(n)) % len(LAYOUTS)], shape,
                (int(left), int(top)) if shares else None, grid, system)
        inputs = list(images.values())
        bands = min((len(image.bands) for image in inputs if len(image.bands) > 1), default=1)
        chosen = self.random.integers(0, bands, self.number(1, bands + 1))  # some twice
        # Often all of the area: outputs of a few rows show little.
        x, y = (self.pick(0, self.number(0, side - 1)) for side in (columns, rows))
        width, height = (self.pick(side, self.number(1, side)) for side in (columns - x, rows - y))
        step = min(self.pick(1, 1, 2, 3), width, height)  # the resolution
        nx, ny = (self.pick(1, self.number(1, min(5, side // step))) for side in (width, height))
        rule, unscale, averages = self.pick(None, "keep", str(HOLE)), self.pick(True, False), (
            step > 1 and self.pick(True, False))
        if any(np.isnan(image.elements).any() for image in inputs) and rule == "keep":
            rule = None  # what operators make of NaN is their own

        def used_part(image):
            numbers = image.numbers(rule, unscale)[:, image.top + y:, image.left + x:]
            numbers = numbers[chosen if len(numbers) > 1 else 0 * chosen]
            numbers = numbers[:, :height // step * step, :width // step * step]
            return looks(numbers, step, step) if averages else numbers[
                :, step // 2::step, step // 2::step]

        files = {n: used_part(image) for n, image in images.items()}
        a, b = self.coefficient(), self.coefficient()
        result = FORMULAS[operator](a, b, files.get("1"), files.get("2")) + 0j
        size = abs(result) + sum(map(abs, files.values())) * averages
        for pixels in files.values():
            result[np.isnan(pixels)] = complex(np.nan, np.nan)
        layout = self.pick("GTiff", "GTiff", "ENVI")
        mode = self.pick(None, *(mode for mode in MODES if layout == "GTiff" or mode != "cint16"))
        is_complex = mode[0] == "c" if mode else any(image.is_complex for image in inputs)
        if not is_complex:
            result = result.real
        clamp = self.pick(False, True)
        expected = looks(np.maximum(result, 0) if clamp and not is_complex else result, nx, ny)
        no_data = float(HOLE) if rule == str(HOLE) else next(
            (value for image in inputs for i in chosen if rule is None for value in (
                image.band(i).GetNoDataValue(), np.nan if image.has_mask() else None)
             if value is not None), None)
        asked = self.pick(None, *([7.0, float(np.iinfo(MODES[mode]).max)] if MODES.get(mode)
                                  else [-1234567.5]))
        if asked is not None:
            no_data = asked
        elif no_data is not None and not MODES.get(mode):
            no_data = np.nan
        elif np.isnan(no_data or 0):
            limits = np.iinfo(MODES[mode])
            no_data = limits.min or limits.max
        left, top = inputs[0].left + x, inputs[0].top + y
        where = f"-region={left}:{top}:{width}:{height}"
        if grid[2] == 0 and any(
                image.dataset.GetGeoTransform(can_return_null=True) for image in inputs):
            inside, cut = self.pick(0, 0.3), self.pick(0, 0.6)  # it takes the pixels that it touches
            where = self.pick(where, "-window={}:{}:{}:{}".format(
                grid[0] + grid[1] * (x + inside), grid[3] + grid[5] * (y + height - cut),
                grid[0] + grid[1] * (x + width - cut), grid[3] + grid[5] * (y + inside)))
        arguments = [*(f"-file{n}={paths.get(n, 'none')}" for n in self.pick("12", used)),
                     f"-operator={operator}",
                     f"-a={a.real}:{a.imag}", f"-b={b.real}:{b.imag}", f"-looks={nx}:{ny}",
                     *[where] * ((width, height) != (columns, rows) or self.pick(0, 1)),
                     f"-resolution={step}", *["-resampling=average"] * averages,
                     "-bands=" + ",".join(str(i + 1) for i in chosen), *["-unscale"] * unscale,
                     *["-extent=intersection"] * shares, *["-clamp"] * clamp,
                     *[f"-mode={mode}"] * bool(mode), *[f"-nodata={rule}"] * bool(rule),
                     *[f"-a_nodata={asked}"] * (asked is not None)]
        if layout == "ENVI":
            arguments += ["-format=ENVI", "-co=INTERLEAVE=" + self.pick("BSQ", "BIL", "BIP")]
        else:
            arguments += ["-co=INTERLEAVE=" + self.pick("BAND", "PIXEL"),
                          f"-co=BLOCKYSIZE={self.number(1, 4)}",
                          *self.pick([], [], ["-co=COMPRESS=DEFLATE"])]
        self.out = self.path(f"{begin}out." + ("tif" if layout == "GTiff" else "img"))
        self.dataset, self.report = self.made(*arguments)
        error = RELATIVE_ERROR * looks(size, nx, ny)
        self.compare_elements(expected, error, MODES.get(mode), no_data)
        self.compare_warnings(inputs, chosen, unscale)
        if layout == "GTiff":
            self.compare_places(inputs, x, y, step * nx, step * ny, grid)
            self.compare_descriptions(inputs, chosen, step * nx, step * ny)
        match self.pick("parts", "repeat", "repeat", ""):
            case "parts" if layout == "GTiff":
                self.compare_parts(arguments, self.path(f"{seed}.vrt"))
            case "repeat":
                before = Path(self.out).read_bytes()
                path = f"{os.path.dirname(harness.PROGRAM)}:{os.environ['PATH']}"
                # Of control characters bash alone can read.
                subprocess.run(["bash" if "\a" in begin else "sh", "-c",
                                self.report["command"] + " -overwrite -quiet"],
                               check=True, env={**os.environ, "PATH": path})
                self.assertEqual(Path(self.out).read_bytes(), before)

    def compare_elements(self, expected, error, integer, no_data):
        """With the elements of the output, and these with the statistics."""
        stored = self.dataset.ReadAsArray().reshape(expected.shape)
        np.testing.assert_equal(self.dataset.GetRasterBand(1).GetNoDataValue(), no_data)
        missing, valid = np.isnan(expected), ~np.isnan(expected)
        if integer and no_data is None:
            equal(stored[missing], 0)
        elif no_data is None or np.isnan(no_data):
            equal(np.isnan(stored), missing)
        else:
            equal(stored[missing], no_data * (1 + 1j * np.iscomplexobj(stored)))
            self.assertFalse(np.isin(stored[valid], (no_data, no_data * (1 + 1j))).any())
        unrounded, tolerance = expected.real, error
        if integer:
            limits = np.iinfo(integer)
            clipped = expected.real.clip(limits.min, limits.max)
            if np.iscomplexobj(expected):
                clipped = clipped + 1j * expected.imag.clip(limits.min, limits.max)
            # Each part is rounded; the first may be moved away from the value for no data.
            expected, error = clipped, error + (0.8 if no_data is None else 1.8)
        wrong = valid & ~(abs(stored - expected) <= error)
        self.assertFalse(wrong.any(), f"{stored[wrong]} instead of {expected[wrong]}")
        self.assertEqual([self.report[side] for side in ("rows", "columns")], [*expected.shape[1:]])
        for i, (elements, band) in enumerate(zip(stored.real, self.report["bands"], strict=True)):
            numbers = elements[valid[i]].astype(float)
            self.assertEqual((band["elements"], band["valid"], band["no_data"]),
                             (elements.size, numbers.size, elements.size - numbers.size))
            if numbers.size and not integer:
                self.assertEqual((band["minimum"], band["maximum"], band["sum"], band["mean"]), (
                    numbers.min(), numbers.max(), math.fsum(numbers), math.fsum(numbers) / numbers.size))
                np.testing.assert_allclose(band["standard_deviation"], numbers.std(), rtol=1e-6,
                                           atol=1e-9 * abs(numbers).max())
            elif numbers.size:  # of the results before they are rounded
                for end, of in ("minimum", np.nanmin), ("maximum", np.nanmax), ("mean", np.nanmean):
                    self.assertLessEqual(abs(band[end] - of(unrounded[i])), np.nanmax(tolerance[i]))
            items = self.dataset.GetRasterBand(i + 1).GetMetadata()
            altered = sum(band[count] for count in ("saturated", "moved", "taken", "zeroed"))
            held = [] if altered or not numbers.size or self.report["mode"][0] == "c" else [
                *(np.rint(band[end]) if integer else band[end] for end in ("minimum", "maximum")),
                band["mean"], band["standard_deviation"], 100 * numbers.size / elements.size]
            held[:2] = map(np.float32, held[:2])  # which the shortest texts name
            kinds = np.float32, np.float32, float, float, float
            self.assertEqual([kind(items[f"STATISTICS_{item}"]) for kind, item in zip(kinds, (
                "MINIMUM", "MAXIMUM", "MEAN", "STDDEV", "VALID_PERCENT"))
                if f"STATISTICS_{item}" in items], held)

    def compare_warnings(self, inputs, chosen, unscale):
        """Of what is not applied, and of nothing that is not so."""
        scaled = any(image.band(i).GetScale() not in (None, 1) or image.band(i).GetOffset()
                     for image in inputs for i in chosen)
        told = "\n".join(self.report["warnings"])
        self.assertEqual("are not applied" in told, scaled and not unscale)
        for wrong in "hold all values", "same place", "single precision: ":
            self.assertNotIn(wrong, told)

    def compare_places(self, inputs, x, y, nx, ny, grid):
        """The output's first pixel is the area's pixel x, y, and its pixels are nx x ny as large."""
        def placed(image):
            return image.dataset.GetGeoTransform(can_return_null=True), image.dataset.GetGCPs()
        first = next((image for image in inputs if any(placed(image))), None)
        transform, points = placed(first) if first else (None, ())
        system = first and first.dataset.GetSpatialRef()
        if system and system.IsProjected():  # others GDAL makes up
            self.assertTrue(self.dataset.GetSpatialRef().IsSame(system))
        if transform:
            a, b, c, d, e, f = grid
            transform = a + x * b + y * c, nx * b, ny * c, d + x * e + y * f, nx * e, ny * f
        found = self.dataset.GetGeoTransform(can_return_null=True)
        np.testing.assert_allclose(np.array(found or (), float), np.array(transform or (), float), atol=1e-6)
        self.assertEqual(self.dataset.GetGCPProjection(), points and next(
            image.dataset.GetGCPProjection() for image in inputs if image.dataset.GetGCPs()) or "")
        np.testing.assert_allclose(
            [(p.GCPPixel, p.GCPLine, p.GCPX, p.GCPY, p.GCPZ) for p in self.dataset.GetGCPs()],
            [((p.GCPPixel - x) / nx, (p.GCPLine - y) / ny, p.GCPX, p.GCPY, p.GCPZ)
             for p in points or ()])
        rpc = self.dataset.GetMetadata("RPC")
        image = next((image for image in inputs if image.dataset.GetMetadata("RPC")), None)
        self.assertEqual(bool(rpc), bool(image))
        if image:
            np.testing.assert_allclose(
                [float(rpc[item]) for item in ("SAMP_OFF", "SAMP_SCALE", "LINE_OFF", "LINE_SCALE")],
                [(150 - image.left - x - (nx - 1) / 2) / nx, 300 / nx,
                 (350 - image.top - y - (ny - 1) / 2) / ny, 700 / ny])

    def compare_descriptions(self, inputs, chosen, nx, ny):
        """Each is that of the first image that has one."""
        items = next((items for items in (image.dataset.GetMetadata() for image in inputs)
                      if "SENSOR" in items), {})
        self.assertEqual(self.dataset.GetMetadataItem("SENSOR"), items.get("SENSOR"))
        self.assertTrue(self.dataset.GetMetadata().keys().isdisjoint(OF_THE_INPUT))
        for axis, pixels in ("X", nx), ("Y", ny):  # pixels per inch
            if f"TIFFTAG_{axis}RESOLUTION" in items:
                value = float(self.dataset.GetMetadataItem(f"TIFFTAG_{axis}RESOLUTION"))
                self.assertAlmostEqual(value * pixels, float(items[f"TIFFTAG_{axis}RESOLUTION"]), 3)
        for i, number in enumerate(chosen):
            own, band = [image.band(number) for image in inputs], self.dataset.GetRasterBand(i + 1)
            for wanted in "GetDescription", "GetUnitType":
                self.assertEqual(getattr(band, wanted)(),
                                 next(filter(None, (getattr(one, wanted)() for one in own)), ""))
            self.assertIsNone(band.GetMetadataItem("scale_factor"))
            self.assertEqual(band.GetMetadataItem("KEY"),
                             next(filter(None, (one.GetMetadataItem("KEY") for one in own)), None))

    def compare_parts(self, arguments, mosaic):
        height = self.dataset.GetRasterBand(1).GetBlockSize()[1]
        _, whole = self.told(self.out, self.report)
        parts = self.number(1, min(-(-self.report["rows"] // height), 4))
        for part in range(parts):
            self.done(*arguments, mosaic, f"-part={part + 1}/{parts}")
        joined = self.done(f"-join={mosaic}", "-stats=-")
        self.assertEqual(self.told(mosaic, harness.strict_json(joined.stdout))[1], whole)


if __name__ == "__main__":
    Operators.seconds = float(sys.argv[1])
    Operators.first_seed = int(sys.argv[2] if sys.argv[2:] else time.time_ns() // 10**6)
    unittest.main(argv=sys.argv[:1], buffer=True, failfast=True)
