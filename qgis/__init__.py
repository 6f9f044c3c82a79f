"""Algorithms of QGIS that run the program lumomixcalc."""

import pathlib

from qgis.core import QgsApplication, QgsProcessingProvider
from qgis.PyQt.QtGui import QIcon

from .algorithms import Calculate, Coherence, ProgramAlgorithm
from .program import Program


def classFactory(iface):
    """Makes the plugin. QGIS calls it, without a screen with None."""
    return Plugin()


class Plugin:
    def initProcessing(self):
        """Called instead of initGui where there is no screen."""
        self.provider = Provider()
        QgsApplication.processingRegistry().addProvider(self.provider)

    initGui = initProcessing

    def unload(self):
        QgsApplication.processingRegistry().removeProvider(self.provider)


class Provider(QgsProcessingProvider):
    """The group of the algorithms in the toolbox."""

    def id(self):
        return "lumomixcalc"

    def name(self):
        return "LumoMixcalc"

    def icon(self):
        return QIcon(str(pathlib.Path(__file__).with_name("lumomixcalc.svg")))

    def loadAlgorithms(self):
        ProgramAlgorithm.program = Program()
        self.addAlgorithm(Calculate())
        self.addAlgorithm(Coherence())

    def warningMessage(self):
        return ProgramAlgorithm.program.problem
