# The commands of the README's examples, run as they are written in a folder with the images that
# they name, print what the README shows. Of the complex logarithm, seven digits must agree: the C
# library decides the others.
#
# readme_test.py LUMOMIXCALC SIMULATE_RADAR_PAIR README

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import numpy as np
from osgeo import gdal_array

program, simulate_radar_pair, readme = map(os.path.abspath, sys.argv[1:])
with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    subprocess.run([simulate_radar_pair, folder], check=True)
    # A micrograph with what belongs to it, and its spectrum.
    random = np.random.default_rng(7)
    image = random.integers(200, 4000, (64, 80), dtype=np.uint16)
    for name, pixels in (("image", image),
                         ("background", random.integers(90, 110, image.shape, np.uint16)),
                         ("flat", random.integers(800, 1200, image.shape, np.uint16)),
                         ("spectrum", np.fft.fft2(image).astype(np.complex64))):
        gdal_array.SaveArray(pixels, f"{name}.tif", "GTiff")

    pair = "reference.tif", "secondary.tif"
    subprocess.run([f"{os.path.dirname(readme)}/demo/coherence", *pair, "coherence.tif", "8"],
                   check=True, env={**os.environ, "PROGRAM": program})
    one, other = (gdal_array.LoadFile(name) for name in pair)
    rows, columns = one.shape[0] // 8, one.shape[1] // 8
    cross, *powers = (product[:rows * 8, :columns * 8].reshape(rows, 8, columns, 8).mean((1, 3))
                      for product in (one * other.conj(), abs(one) ** 2, abs(other) ** 2))
    np.testing.assert_allclose(gdal_array.LoadFile("coherence.tif"),
                               abs(cross) / np.sqrt(np.prod(powers, axis=0)), rtol=1e-4)

    examples = re.findall(r"^    \$ (lumomixcalc .*)\n((?:    (?!\$).*\n)*)",
                          Path(readme).read_text(), re.MULTILINE)
    assert len(examples) > 10, "the README's examples are not where they are looked for"
    environment = {**os.environ, "PATH": f"{os.path.dirname(program)}:{os.environ['PATH']}"}
    for command, shown in examples:
        printed = subprocess.run(command, shell=True, env=environment, check=True,
                                 stdout=subprocess.PIPE, text=True).stdout
        expected = re.sub("^    ", "", shown, flags=re.MULTILINE)
        if " interferogram.tif " in command and "_ln_" in command:
            printed, expected = (re.sub(r"\d+\.\d+", lambda number: f"{float(number[0]):.7g}", text)
                                 for text in (printed, expected))
        assert printed == expected, f"{command}\nprints\n{printed}the README shows\n{expected}"
