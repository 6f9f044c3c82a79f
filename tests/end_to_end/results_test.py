"""What a run makes of its results beside the arithmetic: no data, the mode without -mode=, what it
warns of, and the file of its statistics."""

import json
import math
import os
from pathlib import Path

import numpy as np
from osgeo import gdal

import harness
from harness import write

SHAPE = 300, 70
REAL = np.random.default_rng(5).normal(2, 1, SHAPE).astype(np.float32)
COMPLEX = REAL + 1j * REAL.T.reshape(SHAPE)


class Results(harness.ProgramTest):
    def test_no_data_in_an_input_is_none_in_the_output_of_any_operator(self):
        holes = np.zeros(SHAPE, bool)
        holes[200, 3:66:7] = True
        for complex_input in (False, True):
            hole = complex(1, np.nan) if complex_input else np.nan
            write(self.a, np.where(holes, hole, COMPLEX if complex_input else REAL))
            for operator in ("a_phase_1", "1+b_pow_a", "abs_a1", "a1b"):
                for options in ((), ("-mode=float32", "-clamp"), ("-mode=cfloat32",)):
                    result = self.made(self.a, f"-operator={operator}", "-a=2", *options)[0]
                    result = result.ReadAsArray()
                    for part in (result.real, result.imag if np.iscomplexobj(result) else result):
                        np.testing.assert_array_equal(np.isnan(part), holes, (operator, options))
        dataset, _ = self.made(self.a, "-operator=a_phase_1", "-mode=float32", "-nodata=keep")
        self.assertFalse(np.isnan(dataset.ReadAsArray()).any())

    def test_the_mode_is_complex_when_an_input_that_is_read_is(self):
        write(self.a, REAL)
        write(self.b, COMPLEX)
        for mode, *arguments in (("cfloat32", self.a, self.b), ("cfloat32", self.b, self.a),
                                 ("cfloat32", f"-file2={self.b}", "-operator=a/b2"),
                                 ("float32", self.b, self.a, "-operator=a/b2"),
                                 ("float32", self.a, self.b, "-operator=a1+b"),
                                 ("float32", self.a, self.b, "-mode=float32")):
            dataset, report = self.made(*arguments)
            self.assertEqual(report["mode"], mode)
            if mode == "cfloat32":
                self.assertTrue((dataset.ReadAsArray().imag != 0).all())

    def test_losses_are_warned_of_once(self):
        write(self.a, REAL)
        write(self.b, COMPLEX)
        for text, *arguments in (("have imaginary parts", self.b, "-operator=conj_a1", "-mode=int16"),
                                 ("have imaginary parts", self.a, "-operator=a1b", "-b=0:1"),
                                 ("imaginary parts are zero", self.b, "-operator=abs_a1"),
                                 ("single precision", self.a, "-operator=a1b", "-mode=float64"),
                                 ("", self.b, "-operator=abs_a1", "-mode=float32"),
                                 ("", self.b, "-operator=a1b"), ("", self.a, "-operator=a1b")):
            told = self.done(*arguments, self.out, "-overwrite").stderr
            self.assertRegex(told, rf"\A(lumomixcalc: warning: .*{text}.*\n)\Z" if text else r"\A\Z")

    def test_deviation_of_a_large_mean(self):
        values = (1e6 + np.random.default_rng(6).normal(0, 0.1, SHAPE)).astype(np.float32)
        write(self.a, values)
        band = self.made(self.a, "-operator=a1b")[1]["bands"][0]
        exact = values.astype(float).ravel()
        self.assertEqual(band["sum"], math.fsum(exact))
        deviations = exact - math.fsum(exact) / exact.size
        expected = math.sqrt(math.fsum(deviations**2) / exact.size)
        self.assertAlmostEqual(band["standard_deviation"], expected, delta=1e-11 * expected)

    def test_the_statistics_file_replaces_nothing_that_it_must_not(self):
        write(self.a, REAL, format="ENVI")
        report = Path(self.path("report.json"))
        os.symlink(self.a, self.path("link"))
        run = (self.a, self.out, "-operator=a1b")
        for name, *options in (("a.tif", "-overwrite"), ("a.hdr", "-overwrite"), ("a.hdr",),
                               ("link", "-overwrite"), ("out.tif", "-overwrite"), ("no/r.json",),
                               ("report.json",)):
            report.write_text("kept")
            self.refused(name, *run, f"-stats={self.path(name)}", *options)
            self.assertFalse(os.path.exists(self.out))
        for place in ("/dev/full", "-"):
            with open("/dev/full", "w") as full:
                self.refused("statistics", *run, f"-stats={place}", stdout=full)
            self.assertFalse(os.path.exists(self.out))
        np.testing.assert_array_equal(harness.read(self.a), REAL)
        self.assertEqual(report.read_text(), "kept")
        self.assertEqual(len(os.listdir(self.folder)), 4)
        piped = self.done(*run, "-quiet", "-stats=/dev/stdout").stdout
        self.assertEqual(json.loads(piped)["output"], self.out)
        out = os.fsencode(self.path("")) + b"\xe4.tif"
        self.done(self.a, out, "-operator=a1b", f"-stats={report}", "-overwrite")
        self.assertEqual(json.loads(report.read_text("utf-8"))["output"], self.path("\xe4.tif"))
