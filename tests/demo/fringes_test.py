"""The demonstration's interferogram shows the fringes that its land and orbit call for.

Usage: fringes_test.py SIMULATE_RADAR_PAIR LUMOMIXCALC
"""

import subprocess
import sys
import tempfile

import numpy as np
from osgeo import gdal

gdal.UseExceptions()

# As demo/simulate_pair.cpp has them.
HEIGHT_OF_AMBIGUITY = 180.0
FLAT_EARTH_FRINGE = 2400.0
LAKE_LEVEL = 430.0
LAND_COHERENCE = 0.92
LAKE_COHERENCE = 0.15


def read(path):
    return gdal.Open(path).ReadAsArray()


def coherence(interferogram, reference, secondary, where):
    power = np.sum(np.abs(reference[where]) ** 2) * np.sum(np.abs(secondary[where]) ** 2)
    return np.sum(interferogram[where]) / np.sqrt(power)


def main():
    simulate, program = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([simulate, folder], check=True)
        reference, secondary, interferogram, phase, change = (
            f"{folder}/{name}.tif"
            for name in ("reference", "secondary", "interferogram", "phase", "change"))
        before, after = f"{folder}/height_before.tif", f"{folder}/height_after.tif"
        for arguments in (
                [reference, secondary, interferogram, "-operator=a1_conj_b2"],
                [interferogram, phase, "-operator=a_phase_1", "-mode=float32"],
                [after, before, change, "-operator=a1-b2"]):
            subprocess.run([program, "-quiet", *arguments], check=True)

        height = read(before)
        spacing = gdal.Open(before).GetGeoTransform()[1]
        ground = spacing * np.arange(height.shape[1])
        fringes = np.exp(2j * np.pi * (height / HEIGHT_OF_AMBIGUITY + ground / FLAT_EARTH_FRINGE))
        lake = height <= LAKE_LEVEL

        # With the fringes taken away, what is left is the coherence, real and positive.
        flat = read(interferogram) * fringes.conj()
        images = read(reference), read(secondary)
        for where, expected in ((~lake, LAND_COHERENCE), (lake, LAKE_COHERENCE)):
            found = coherence(flat, *images, where)
            assert abs(found - expected) < 0.02, (expected, found)

        # Speckle of coherence 0.92 scatters single phases, but seldom by more than a radian.
        error = np.angle(np.exp(1j * read(phase)) * fringes.conj())[~lake]
        assert abs(np.mean(error)) < 0.01, np.mean(error)
        assert np.mean(np.abs(error) < 1.0) > 0.9, np.mean(np.abs(error) < 1.0)

        # The landslide loses nothing; the quarry is a paraboloid, 25 m deep and 20 cells in radius.
        quarry = -np.pi * 20.0**2 * 25.0 / 2.0
        total = np.sum(read(change), dtype=np.float64)
        assert abs(total / quarry - 1.0) < 0.01, (quarry, total)


main()
