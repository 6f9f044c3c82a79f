# The commands that a page shows after "$", run as they are written in a folder with the images that
# they name, print what the page shows. Of logarithms and phases, seven digits must agree: the C
# library decides the others.
#
# pages_test.py LUMOMIXCALC SIMULATE_RADAR_PAIR PAGE

import http.server
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
from pathlib import Path

import numpy as np
from osgeo import gdal_array

program, simulate_radar_pair, page = map(os.path.abspath, sys.argv[1:])


class Ranges(http.server.SimpleHTTPRequestHandler):
    """Serves the folder, and parts of its files, which the class that it extends does not."""

    def do_GET(self):
        data = Path(self.translate_path(self.path))
        asked = re.fullmatch(r"bytes=(\d+)-(\d+)", self.headers.get("Range", ""))
        if not asked or not data.is_file():
            return super().do_GET()
        first, last = int(asked[1]), min(int(asked[2]), data.stat().st_size - 1)
        self.send_response(206)
        self.send_header("Content-Range", f"bytes {first}-{last}/{data.stat().st_size}")
        self.send_header("Content-Length", str(last + 1 - first))
        self.end_headers()
        self.wfile.write(data.read_bytes()[first:last + 1])

    def log_message(self, *_):
        pass


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
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Ranges)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    scripts = Path(__file__).parents[2] / "packaging"
    environment = {**os.environ, "SERVER": f"http://127.0.0.1:{server.server_port}", "no_proxy": "*",
                   "PATH": f"{os.path.dirname(program)}:{scripts}:/usr/bin:{os.environ['PATH']}"}

    # A command may end with a text for its standard input.
    examples = re.findall(r"^    \$ (.*?(?:<<'END'\n(?:.*\n)*?    END)?)\n((?:    (?!\$).*\n)*)",
                          Path(page).read_text(), re.MULTILINE)
    assert len(examples) > 10, "the page's examples are not where they are looked for"
    for command, shown in examples:
        if command.startswith("snakemake ") and not shutil.which("snakemake"):
            print(f"Left out, without snakemake: {command}")
            continue
        command, expected = (re.sub("^    ", "", text, flags=re.MULTILINE)
                             for text in (command, shown))
        printed = subprocess.run(["bash", "-c", command], env=environment, check=True,
                                 stdout=subprocess.PIPE, text=True).stdout
        if re.search("_ln_|_phase_", command):
            printed, expected = (re.sub(r"\d+\.\d+", lambda number: f"{float(number[0]):.7g}", text)
                                 for text in (printed, expected))
        assert printed == expected, f"{command}\nprints\n{printed}the page shows\n{expected}"
