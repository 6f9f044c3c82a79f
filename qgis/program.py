"""The program lumomixcalc: what it can do, and a run of it."""

import json
import os
import signal
import subprocess
import tempfile

from qgis.core import QgsProcessingException
from qgis.PyQt.QtCore import Qt


class Program:
    """What the program tells of itself, or, in `problem`, why it cannot be used."""

    def __init__(self):
        self.operators, self.modes, self.problem = {}, [], ""  # the operators' formulas, by name
        try:
            self.operators = dict(line.split("\t") for line in printed("-operators"))
            self.modes = [line[6:] for line in printed("-completions") if line.startswith("-mode=") and line[6:]]
        except (OSError, subprocess.SubprocessError, ValueError) as error:
            self.problem = (f"The program lumomixcalc cannot be used: {error}. Install the Debian package "
                            "lumomixcalc of this plugin's version, or build the program as its README "
                            "describes, so that it is on the path, and start QGIS again.")


def printed(option):
    """The lines that the program prints."""
    return subprocess.run(["lumomixcalc", option], check=True, timeout=30, stdin=subprocess.DEVNULL,
                          capture_output=True, text=True).stdout.splitlines()


def run(words, feedback):
    """Runs a command. Returns the program's report, or None if the user cancelled. Raises its sentences."""
    sentences = []
    # In a process group of its own, because the command may be a script that runs the program.
    with tempfile.TemporaryFile() as report, subprocess.Popen(
            words, stdin=subprocess.DEVNULL, stdout=report, stderr=subprocess.PIPE, text=True,
            errors="replace", start_new_session=True) as process:
        def end():
            os.killpg(process.pid, signal.SIGTERM)
        feedback.canceled.connect(end, Qt.DirectConnection)  # this thread waits for the next line
        if feedback.isCanceled():
            end()
        for line in process.stderr:
            sentence = line.strip().partition(": ")[2]
            if line.strip().isdigit():
                feedback.setProgress(int(line))
            elif sentence.startswith("warning: "):
                feedback.pushWarning(sentence[len("warning: "):])
            else:
                sentences.append(sentence or line)
        feedback.canceled.disconnect(end)
        if process.wait() == 0:
            report.seek(0)
            return json.load(report)
    if not feedback.isCanceled():
        raise QgsProcessingException("\n".join(sentences) or f"{words[0]} ended with {process.returncode}.")
