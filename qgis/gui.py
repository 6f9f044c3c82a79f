"""The form's widget for operators, and the colours of a phase, which end where they begin."""

import functools
import math

from processing.gui.wrappers import WidgetWrapper
from qgis import core
from qgis.PyQt.QtGui import QColor
from qgis.PyQt.QtWidgets import QComboBox

# 17 steps that look equal, as in the program's panel. The middle, the angle 0, is red.
COLOURS = ("#22b9ca #43b1e6 #6ea5f9 #9598fe #b78af7 #d47ee3 #ea74c5 #f86fa2 #fe707b"
           " #fb7953 #ee862b #d7960b #b9a62a #94b254 #69ba7e #3cbca6 #22b9ca").split()


class OperatorWidget(WidgetWrapper):
    """Shows the formulas of operators, whose names are the values."""

    def createWidget(self, formulas):
        box = QComboBox()
        for name, formula in formulas:
            box.addItem(formula, name)
        return box

    def setValue(self, value):
        self.setComboValue(value)

    def value(self):
        return self.widget.currentData()


class PhaseStyle(core.QgsProcessingLayerPostProcessorInterface):
    """Shows phases in radians that were multiplied by a factor."""

    def __init__(self, factor):
        super().__init__()
        self.limit = abs(factor) * math.pi

    def postProcessLayer(self, layer, context, feedback):
        ramp = core.QgsColorRampShader(-self.limit, self.limit)
        ramp.setColorRampItemList([
            core.QgsColorRampShader.ColorRampItem((i / 8 - 1) * self.limit, QColor(colour))
            for i, colour in enumerate(COLOURS)])
        shader = core.QgsRasterShader()
        shader.setRasterShaderFunction(ramp)
        layer.setRenderer(core.QgsSingleBandPseudoColorRenderer(layer.dataProvider(), 1, shader))


phase_style = functools.lru_cache(maxsize=None)(PhaseStyle)  # kept, because QGIS does not own them
