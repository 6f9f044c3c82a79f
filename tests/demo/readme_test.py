"""The commands of the README's examples, run as they are written in a folder with the images that
they name, print what the README shows; and what they make of the simulated radar pair shows the
fringes and the changes that its land and orbit call for.

readme_test.py LUMOMIXCALC SIMULATE_RADAR_PAIR README
"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import numpy as np
from osgeo import gdal, gdal_array

gdal.UseExceptions()


def read(name):
    return gdal_array.LoadFile(f"{name}.tif")


def write_microscopy():
    """A micrograph with what belongs to it, and its spectrum."""
    random = np.random.default_rng(7)
    image = random.integers(200, 4000, (64, 80), dtype=np.uint16)
    for name, pixels in (("image", image),
                         ("background", random.integers(90, 110, image.shape, np.uint16)),
                         ("flat", random.integers(800, 1200, image.shape, np.uint16)),
                         ("spectrum", np.fft.fft2(image).astype(np.complex64))):
        gdal_array.SaveArray(pixels, f"{name}.tif", "GTiff")


def run_examples(program, readme):
    examples = re.findall(r"^    \$ (lumomixcalc .*)\n((?:    (?!\$).*\n)*)",
                          Path(readme).read_text(), re.MULTILINE)
    assert len(examples) > 10, "the README's examples are not where they are looked for"
    environment = {**os.environ, "PATH": f"{os.path.dirname(program)}:{os.environ['PATH']}"}
    for command, shown in examples:
        printed = subprocess.run(command, shell=True, env=environment, check=True,
                                 stdout=subprocess.PIPE, text=True).stdout
        expected = re.sub("^    ", "", shown, flags=re.MULTILINE)
        assert printed == expected, f"{command}\nprints\n{printed}the README shows\n{expected}"


def check_simulation():
    height, spacing = read("height_before"), 20.0
    # As demo/simulate_pair.cpp has them: metres of height and of ground to a fringe.
    fringes = np.exp(2j * np.pi * (height / 180 + spacing * np.arange(height.shape[1]) / 2400))
    lake = height <= 430

    # With the fringes taken away, what is left is the coherence, real and positive.
    flat = read("interferogram") * fringes.conj()
    power1, power2 = (np.abs(read(name)) ** 2 for name in ("reference", "secondary"))
    for where, coherence in ((~lake, 0.92), (lake, 0.15)):
        found = flat[where].sum() / np.sqrt(power1[where].sum() * power2[where].sum())
        assert abs(found - coherence) < 0.02, (coherence, found)

    # Speckle of coherence 0.92 scatters single phases, but seldom by more than a radian.
    error = np.angle(np.exp(1j * read("phase")) * fringes.conj())[~lake]
    assert abs(error.mean()) < 0.01, error.mean()
    assert np.mean(abs(error) < 1.0) > 0.9, np.mean(abs(error) < 1.0)

    # The landslide loses nothing; the quarry is a paraboloid, 25 m deep and 20 cells in radius.
    quarry = -np.pi * 20**2 * 25 / 2
    total = read("change").sum(dtype=float)
    assert abs(total / quarry - 1) < 0.01, (quarry, total)


def main():
    program, simulate_radar_pair, readme = map(os.path.abspath, sys.argv[1:])
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        subprocess.run([simulate_radar_pair, folder], check=True)
        write_microscopy()
        run_examples(program, readme)
        check_simulation()


main()
