"""Runs the commands of the README's examples as they are written, in a folder with the images that
they name, and compares what they print with what the README shows."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

import numpy
from osgeo import gdal

gdal.UseExceptions()


def write(path, values):
    kind = gdal.GDT_CFloat32 if numpy.iscomplexobj(values) else gdal.GDT_UInt16
    dataset = gdal.GetDriverByName("GTiff").Create(str(path), values.shape[1], values.shape[0], 1, kind)
    dataset.GetRasterBand(1).WriteArray(values)


def make_images(folder, simulate_radar_pair):
    """The radar pair and heights of the demonstration, and a micrograph with what belongs to it."""
    subprocess.run([simulate_radar_pair, folder], check=True)
    random = numpy.random.default_rng(7)
    image = random.integers(200, 4000, (64, 80)).astype(numpy.uint16)
    write(folder / "image.tif", image)
    write(folder / "background.tif", random.integers(90, 110, image.shape).astype(numpy.uint16))
    write(folder / "flat.tif", random.integers(800, 1200, image.shape).astype(numpy.uint16))
    write(folder / "spectrum.tif", numpy.fft.fft2(image).astype(numpy.complex64))


def examples(readme):
    """(command, expected output) of each command line shown after a prompt."""
    shown = re.findall(r"^    \$ (lumomixcalc .*)\n((?:    (?!\$).*\n)*)", readme, re.MULTILINE)
    return [(command, re.sub("^    ", "", output, flags=re.MULTILINE)) for command, output in shown]


def main():
    program, simulate_radar_pair, readme = map(pathlib.Path, sys.argv[1:])
    commands = examples(readme.read_text(encoding="utf-8"))
    assert len(commands) > 10, "the README's examples are not where they are looked for"
    environment = dict(os.environ, PATH=f"{program.parent}:{os.environ['PATH']}")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        make_images(folder, simulate_radar_pair)
        for command, expected in commands:
            run = subprocess.run(
                command, shell=True, cwd=folder, env=environment, capture_output=True, text=True, check=False
            )
            assert run.returncode == 0, f"{command}\n{run.stderr}"
            assert run.stdout == expected, f"{command}\nprints\n{run.stdout}the README shows\n{expected}"


if __name__ == "__main__":
    main()
