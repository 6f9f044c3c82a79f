"""The plugin in a real QGIS without a screen: by qgis_process, as a script calls it, and in this process,
as the toolbox calls it. tests/qgis/run installs the plugin and sets the environment."""

import os
import re
import shutil
import subprocess
import unittest
import zipfile
from pathlib import Path

import numpy as np
from osgeo import gdal, osr
from qgis.core import (QgsApplication, QgsProcessingAlgRunnerTask, QgsProcessingContext, QgsProcessingException,
                       QgsProcessingFeedback, QgsProcessingOutputLayerDefinition, QgsProject, QgsRasterLayer,
                       QgsRectangle, QgsReferencedRectangle)

import harness
from harness import ProgramTest, equal, read, write

QGIS = QgsApplication([], True)
QGIS.initQgis()

import lumomixcalc  # noqa: E402
import processing  # noqa: E402
from processing.core.Processing import Processing  # noqa: E402
from processing.gui.Postprocessing import handleAlgorithmResults  # noqa: E402

Processing.initialize()
PLUGIN = lumomixcalc.classFactory(None)
PLUGIN.initProcessing()
UTM = osr.SpatialReference()
UTM.ImportFromEPSG(32633)
OPERATORS = [line.split("\t") for line in harness.run("-operators").stdout.splitlines()]


class Feedback(QgsProcessingFeedback):
    """Keeps what a run tells."""

    def __init__(self):
        super().__init__(False)
        self.told = {"command": [], "info": [], "warning": [], "error": []}
        self.progress = []
        self.progressChanged.connect(self.progress.append)

    def keep(kind):
        return lambda self, text, fatal=False: self.told[kind].append(text)

    pushCommandInfo, pushInfo, pushWarning, reportError = map(keep, ("command", "info", "warning", "error"))


def calculate(feedback=None, context=None, algorithm="calculate", **parameters):
    return processing.run(f"lumomixcalc:{algorithm}", parameters, feedback=feedback or Feedback(),
                          context=context or QgsProcessingContext())


def qgis_process(*arguments, **environment):
    """What qgis_process prints. Debian 12's wrapper of it adds an option that the program refuses."""
    program = shutil.which("qgis_process.bin") or shutil.which("qgis_process")
    done = subprocess.run([program, *arguments], text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=100, env={**os.environ, **environment})
    print(done.stdout)
    return done.stdout


class PluginTest(ProgramTest):
    def setUp(self):
        super().setUp()
        random = np.random.default_rng(5)
        for file in self.a, self.b:
            values = random.normal(size=(20, 30)) + 1j * random.normal(size=(20, 30))
            write(file, values.astype(np.complex64), outputSRS=UTM.ExportToWkt(), **harness.bounds(values))

    def files(self):
        """Without the statistics that QGIS writes beside a raster."""
        return {path: content for path, content in super().files().items() if path.suffix != ".xml"}

    def assert_same_file(self, file, *arguments):
        """Expects what the program makes of the arguments."""
        expected = self.path("expected.tif")
        self.done(*arguments, expected, "-overwrite", "-quiet")
        equal(read(file).view(np.uint8), read(expected).view(np.uint8))


class Scripts(PluginTest):
    def test_qgis_process_finds_describes_and_runs_the_algorithms(self):
        qgis_process("plugins", "enable", "lumomixcalc")
        self.assertRegex(qgis_process("list"), "lumomixcalc:calculate\\s.*\n.*lumomixcalc:coherence\\s")
        shown = qgis_process("help", "lumomixcalc:calculate")
        for operator, formula in OPERATORS:
            self.assertRegex(shown, rf"- \d+: {re.escape(operator)}\n")
            self.assertIn(f"{operator}: {formula}", shown)
        arguments = f"--FILE1={self.a}", f"--FILE2={self.b}", "--OPERATOR=a1_conj_b2", f"--OUTPUT={self.out}"
        self.assertRegex(qgis_process("run", "lumomixcalc:calculate", *arguments), r"VALID:\s600\n")
        self.assert_same_file(self.out, self.a, self.b, "-operator=a1_conj_b2")
        self.assertRegex(qgis_process("run", "lumomixcalc:calculate", *arguments, PATH=self.folder),
                         "cannot be used: .*'lumomixcalc'. Install the Debian package lumomixcalc")

    def test_the_coherence_is_that_of_the_script(self):
        calculate(algorithm="coherence", REFERENCE=self.a, SECONDARY=self.b, LOOKS_X=2, OUTPUT=self.out)
        subprocess.run(["lumomixcalc-coherence", self.a, self.b, self.path("c.tif"), "-looks=2:5"], check=True,
                       stdout=subprocess.DEVNULL)
        equal(read(self.out), read(self.path("c.tif")))


class Parameters(PluginTest):
    def test_each_parameter_is_an_option(self):
        write(self.b, read(self.b), outputSRS=UTM.ExportToWkt(), **harness.bounds(read(self.b), 150))
        several = self.path("several bands.tif")
        write(several, np.arange(240, dtype=np.float32).reshape(3, 8, 10) - 5)
        degrees = QgsReferencedRectangle(QgsRectangle(16.29638, 46.04170, 16.29862, 46.04442),
                                         QgsProject.instance().crs().fromEpsgId(4326))
        for file, parameters, *options in (
                (self.a, {"MODE": "int16", "CLAMP": True, "A": "9"}, "-mode=int16", "-clamp", "-a=9"),
                (self.a, {"LOOKS_X": 3, "LOOKS_Y": 2}, "-looks=3:2"),
                (self.a, {"OPERATOR": "1+b_pow_a", "A": "0.5:-1.5", "B": "-2"}, "-operator=1+b_pow_a", "-a=0.5:-1.5",
                 "-b=-2"),
                (self.a, {"EXTENT": "600100,600400,5099500,5099800"}, "-region=3:6:11:11"),
                (self.a, {"EXTENT": "0,600031,0,9e9"}, "-region=0:0:2:20"),  # no more than the raster
                (self.a, {"EXTENT": degrees}, "-region=10:6:6:11"),
                (self.a, {"FILE2": self.b, "OPERATOR": "a1+b2", "INTERSECTION": True}, self.b, "-operator=a1+b2",
                 "-extent=intersection"),
                (self.a, {"FILE2": self.b, "OPERATOR": "a1+b2", "INTERSECTION": True, "EXTENT": "0,600300,0,9e9"},
                 self.b, "-operator=a1+b2", "-extent=intersection", "-region=5:0:5:20"),
                (several, {"EXTENT": "2.5,4.5,-7.5,-3"}, "-region=2:3:3:5"),
                (several, {"BANDS": [3, 1], "NODATA": "7"}, "-bands=3,1", "-nodata=7"),
                (several, {"CREATION_OPTIONS": "COMPRESS=LZW|TILED=YES"}, "-co=COMPRESS=LZW", "-co=TILED=YES")):
            with self.subTest(options=options):
                calculate(**{"FILE1": file, "OPERATOR": "a1+b", "OUTPUT": self.out, **parameters})
                self.assert_same_file(self.out, file, "-operator=a1+b", *options)
        self.assertIn("COMPRESSION=LZW", gdal.Info(self.out))

    def test_names_of_all_kinds(self):
        byte = np.arange(80, dtype=np.uint8).reshape(8, 10)
        blanks, quotes = self.path("a b.tif"), self.path("it's \"a|b\".tif")
        for file in blanks, quotes:
            write(file, byte)
        package = self.path("p.gpkg")
        for more in [], ["APPEND_SUBDATASET=YES"]:
            write(package, byte + len(more), f"RASTER_TABLE=t{len(more)}", "TILE_FORMAT=PNG", *more, format="GPKG",
                  **harness.bounds(byte))
        write(self.path("n.nc"), byte, format="netCDF")
        with zipfile.ZipFile(self.path("z.zip"), "w") as archive:
            archive.write(blanks, "in/a b.tif")
        for name, source in (
                (blanks, blanks), (quotes, quotes), (f"{package}|layername=t1", f"GPKG:{package}:t1"),
                (f"GPKG:{package}:t1",) * 2, (f'NETCDF:"{self.path("n.nc")}":Band1',) * 2,
                (f"/vsizip/{self.path('z.zip')}/in/a b.tif",) * 2, (f"{blanks}|option:NUM_THREADS=2", blanks)):
            with self.subTest(name):
                feedback = Feedback()
                calculate(feedback, FILE1=name, OPERATOR="a1+b", OUTPUT=self.out)
                self.assert_same_file(self.out, source, "-operator=a1+b")
                self.assertEqual("-oo=NUM_THREADS=2" in feedback.told["command"][0], "option" in name)

    def test_what_is_refused(self):
        write("/vsimem/a.tif", np.zeros((20, 30), np.float32))
        memory, web = (QgsRasterLayer(source, provider, provider) for source, provider in (
            ("/vsimem/a.tif", "gdal"), ("type=xyz&url=http://127.0.0.1:9/{z}/{x}/{y}&zmax=1&zmin=0", "wms")))
        with open(self.path("text.tif"), "w") as text:
            text.write("not an image")
        for sentence, parameters in (
                ("The layer wms is not a file that other programs can open (provider wms)", {"FILE1": web}),
                ("The layer gdal is not a file", {"FILE1": memory}),
                ("Could not load source layer for FILE1", {"FILE1": self.path("text.tif")}),
                ("The operator reads FILE2, which is not given", {"OPERATOR": "a1_conj_b2"}),
                ("different options, which the program cannot do: ['-oo=NUM_THREADS=2'] and []",
                 {"FILE1": f"{self.a}|option:NUM_THREADS=2", "FILE2": self.b}),
                (f"-window=0:0:1:1 is not inside {self.a}", {"EXTENT": "0,1,0,1"}),
                ("write -a=real[:imaginary] instead of -a=0.5,1", {"A": "0.5,1"})):
            with self.subTest(sentence):
                before, feedback = self.files(), Feedback()
                with self.assertRaises(QgsProcessingException) as refused:
                    calculate(feedback, **{"FILE1": self.a, "OPERATOR": "abs_a1", "OUTPUT": self.out, **parameters})
                self.assertIn(sentence, "\n".join([str(refused.exception), *feedback.told["error"]]))
                self.assertEqual(self.files(), before)


class Results(PluginTest):
    def test_the_log_and_the_outputs_tell_what_the_program_tells(self):
        write(self.b, np.full((20, 30), 300, np.float32))
        feedback = Feedback()
        results = calculate(feedback, FILE1=self.b, FILE2=self.a, OPERATOR="a1+b", MODE="byte", OUTPUT=self.out)
        self.assertEqual(results, {"OUTPUT": self.out, "MINIMUM": 301, "MAXIMUM": 301, "MEAN": 301,
                                   "STANDARD_DEVIATION": 0, "SUM": 180600, "VALID": 600})
        self.assertEqual(feedback.told["warning"], [
            f"-operator=a1+b does not read FILE2; {self.a} is not used",
            "band 1: 600 elements beyond the range of byte, saturated"])
        self.assertIn("Band 1: minimum 301.0, maximum 301.0, mean 301.0, standard deviation 0.0, sum 180600.0, "
                      "valid 600", feedback.told["info"])
        (command,) = feedback.told["command"]
        first = Path(self.out).read_bytes()
        os.remove(self.out)
        subprocess.run(command, shell=True, check=True, capture_output=True)
        self.assertEqual(Path(self.out).read_bytes(), first)
        calculate(feedback, FILE1=self.a, OPERATOR="a1+b", OUTPUT=self.out)
        self.assertRegex(feedback.told["warning"][-1], "does not show complex rasters")

    def test_statistics_that_are_missing_or_infinite(self):
        write(self.b, np.full((20, 30), np.nan, np.float32))
        self.assertEqual(calculate(FILE1=self.b, OPERATOR="a1b", OUTPUT=self.out), {"OUTPUT": self.out, "VALID": 0})
        write(self.b, np.full((20, 30), np.inf, np.float32))
        self.assertEqual(calculate(FILE1=self.b, OPERATOR="a1b", OUTPUT=self.out)["MAXIMUM"], np.inf)

    def test_a_phase_is_shown_in_cyclic_colours_and_the_rest_as_qgis_does(self):
        project = QgsProject.instance()
        algorithm = QgsApplication.processingRegistry().algorithmById("lumomixcalc:calculate")
        for operator, kind in ("a_phase_1", "singlebandpseudocolor"), ("abs_a1", "singlebandgray"):
            context, feedback = QgsProcessingContext(), Feedback()
            context.setProject(project)
            task = QgsProcessingAlgRunnerTask(algorithm, {
                "FILE1": self.a, "OPERATOR": operator, "MODE": "float32", "A": "-2:0",
                "OUTPUT": QgsProcessingOutputLayerDefinition(self.out, project)}, context, feedback)
            done = []
            task.executed.connect(lambda *told: done.append(told))
            QgsApplication.taskManager().addTask(task)  # in another thread, as the form runs it
            while not done:
                QGIS.processEvents()
            self.assertTrue(handleAlgorithmResults(algorithm, context, feedback))
            (layer,) = project.mapLayers().values()
            self.assertEqual(layer.renderer().type(), kind)
            if operator == "a_phase_1":
                items = layer.renderer().shader().rasterShaderFunction().colorRampItemList()
                self.assertEqual([items[i].value for i in (0, 8, 16)], [-2 * np.pi, 0, 2 * np.pi])
                self.assertEqual(items[0].color, items[16].color)
                self.assertGreater(items[8].color.red(), 2 * items[0].color.red())
            project.clear()


class Cancelling(PluginTest):
    def test_a_cancelled_script_ends_with_the_programs_that_it_runs(self):
        script, late = Path(self.path("lumomixcalc-coherence")), self.path("late")
        script.write_text(f"#!/bin/sh\necho 33 >&2\nsh -c 'sleep 3; echo > {late}'\n")
        script.chmod(0o755)
        feedback, path = Feedback(), os.environ["PATH"]
        self.addCleanup(os.environ.__setitem__, "PATH", path)
        os.environ["PATH"] = f"{self.folder}:{path}"
        feedback.progressChanged.connect(feedback.cancel)
        self.assertEqual(calculate(feedback, algorithm="coherence", REFERENCE=self.a, SECONDARY=self.b,
                                   OUTPUT=self.out), {})
        self.assertFalse(os.path.exists(late))

    def test_a_cancelled_run_ends_the_program_and_leaves_nothing(self):
        big = self.path("big.tif")
        gdal.GetDriverByName("GTiff").Create(big, 16_000, 16_000, 1, gdal.GDT_CFloat32, ["SPARSE_OK=TRUE"])
        Path(self.out).write_bytes(b"old")
        before, feedback = self.files(), Feedback()
        feedback.progressChanged.connect(feedback.cancel)
        self.assertEqual(calculate(feedback, FILE1=big, OPERATOR="a1b", CREATION_OPTIONS="COMPRESS=DEFLATE",
                                   OUTPUT=self.out), {})
        self.assertLess(max(feedback.progress), 50)
        self.assertEqual(self.files(), before)


if __name__ == "__main__":
    unittest.main()
