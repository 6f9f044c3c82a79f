"""The algorithms, which run the program."""

import math
import pathlib
import re
import shlex

from qgis import core

from .gui import phase_style
from .program import run

STATISTICS = "minimum", "maximum", "mean", "standard_deviation", "sum", "valid"  # names in a report


class ProgramAlgorithm(core.QgsProcessingAlgorithm):
    """An algorithm that runs a command. Subclasses have `key` and `label`, its names, `files`, the parameters
    that are rasters, and `commandWords`, its words but for those of the parameters that all have."""

    def createInstance(self):
        return type(self)()

    def name(self):
        return self.key

    def displayName(self):
        return self.label

    def icon(self):
        return self.provider().icon()

    def shortHelpString(self):
        text = pathlib.Path(__file__).with_name(f"{self.key}.txt").read_text("utf-8")
        paragraphs = (" ".join(one.split()) for one in text.split("\n\n"))  # a line each, as QGIS takes them
        return "\n".join(paragraphs).format(operators="\n".join(map(": ".join, self.program.operators.items())))

    def add(self, kind, name, label, text, *details, advanced=False, widget=None, **more):
        """Adds the parameter of QGIS's class QgsProcessingParameterKIND, with a help text."""
        parameter = getattr(core, f"QgsProcessingParameter{kind}")(name, label, *details, **more)
        parameter.setHelp(text)
        if advanced:
            parameter.setFlags(parameter.flags() | core.QgsProcessingParameterDefinition.FlagAdvanced)
        parameter.setMetadata({"widget_wrapper": widget} if widget else {})
        self.addParameter(parameter)

    def addOutputs(self, looks):
        for name, what in ("LOOKS_X", "columns"), ("LOOKS_Y", "rows"):
            self.add("Number", name, f"Looks, {what}", f"Average the results over as many {what} (-looks=).",
                     defaultValue=looks, minValue=1, advanced=looks == 1)
        # QGIS's own widget, by its name in this version.
        widget = {"widget_type": "rasteroptions"} if core.Qgis.versionInt() >= 34000 else {
            "class": "processing.algs.gdal.ui.RasterOptionsWidget.RasterOptionsWidgetWrapper"}
        self.add("String", "CREATION_OPTIONS", "Creation options", "NAME=VALUE with | between them (-co=).",
                 optional=True, advanced=True, widget=widget)
        self.add("RasterDestination", "OUTPUT", "Result", "Its format is that of the name's extension.")
        for name in STATISTICS:
            self.addOutput(core.QgsProcessingOutputNumber(name.upper(), f"Band 1: {name.replace('_', ' ')}"))

    def raster(self, parameters, name, context):
        """The layer of a parameter, or None. In texts, QGIS 3.22 finds no subdatasets and no /vsi names; they
        are opened here and kept in the context, where QGIS finds them by the text."""
        layer = self.parameterAsRasterLayer(parameters, name, context)
        text = parameters.get(name)
        if layer or not isinstance(text, str):
            return layer
        layer = core.QgsRasterLayer(re.sub(r"^(.+)\|layername=(.+)$", r"GPKG:\1:\2", text), text, "gdal")
        return context.temporaryLayerStore().addMapLayer(layer) if layer.isValid() else None

    def checkParameterValues(self, parameters, context):
        for name in self.files:
            self.raster(parameters, name, context)
        valid, problem = super().checkParameterValues(parameters, context)
        return valid and not self.program.problem, self.program.problem or problem

    def source(self, layer):
        """The name by which the program opens a layer, and its options for that."""
        if layer.providerType() != "gdal" or layer.source().startswith(("/vsimem/", "MEM:")):
            raise core.QgsProcessingException(
                f"The layer {layer.name()} is not a file that other programs can open (provider "
                f"{layer.providerType()}). Save it as a raster file and choose that file.")
        registry = core.QgsProviderRegistry.instance()
        parts = registry.decodeUri("gdal", layer.source())
        options = [f"-oo={option}" for option in parts.pop("openOptions", None) or []]
        return registry.encodeUri("gdal", parts), options

    def prepareAlgorithm(self, parameters, context, feedback):
        given = list(filter(parameters.get, self.files))
        files, opening = zip(*(self.source(self.raster(parameters, name, context)) for name in given))
        if opening[0] != opening[-1]:
            raise core.QgsProcessingException("The layers are opened with different options, which the program "
                                              f"cannot do: {opening[0]} and {opening[1]}.")
        looks = (self.parameterAsString(parameters, name, context) for name in ("LOOKS_X", "LOOKS_Y"))
        creation = self.parameterAsString(parameters, "CREATION_OPTIONS", context)
        self.words = [*self.commandWords(dict(zip(given, files)), parameters, context), *opening[0], "-overwrite",
                      f"-looks={':'.join(looks)}", *(f"-co={one}" for one in creation.split("|") if one)]
        return True

    def processAlgorithm(self, parameters, context, feedback):
        # Not in prepareAlgorithm, whose context has other layers to load than this thread's.
        output = self.parameterAsOutputLayer(parameters, "OUTPUT", context)
        words = [*self.words, output]
        feedback.pushCommandInfo(shlex.join(words))
        report = run([*words, "-stats=-", "-progress"], feedback)
        if report is None:  # the user cancelled
            return {}
        if report["mode"].startswith("c"):
            feedback.pushWarning("QGIS does not show complex rasters, but magnitudes and phases as float32.")
        for band in report["bands"]:
            feedback.pushInfo(f"Band {band['band']}: " + ", ".join(
                f"{name.replace('_', ' ')} {band[name]}" for name in STATISTICS if name in band))
        first = report["bands"][0]
        return {"OUTPUT": output, **{name.upper(): float(first[name]) for name in STATISTICS if name in first}}


class Calculate(ProgramAlgorithm):
    key, label = "calculate", "Calculate with complex rasters"
    files = "FILE1", "FILE2"

    def initAlgorithm(self, configuration=None):
        operators = self.program.operators
        widget = {"class": "lumomixcalc.gui.OperatorWidget", "formulas": list(map(list, operators.items()))}
        self.add("RasterLayer", "FILE1", "File 1", "All operators but A / (B*File2) read it.", optional=True)
        self.add("RasterLayer", "FILE2", "File 2", "For the operators that read it.", optional=True)
        self.add("Enum", "OPERATOR", "Operator", "What is computed for every element (-operator=).",
                 list(operators), False, next(iter(operators), None), False, True, widget=widget)
        for name in "A", "B":
            self.add("String", name, f"Coefficient {name}", "Such as 2, or 0.5:-1.5 for 0.5 - 1.5i.", "1")
        self.add("Enum", "MODE", "Data type of the result", "Without it cfloat32 if an input that is read is "
                 "complex, else float32 (-mode=). Integer types round and saturate.",
                 self.program.modes, False, None, True, True)
        self.add("Boolean", "CLAMP", "Clamp at zero", "0 for what is not above 0 (-clamp).", False, advanced=True)
        self.add("Boolean", "INTERSECTION", "Shared area", "Of extents that differ (-extent=intersection).", False,
                 advanced=True)
        self.add("Extent", "EXTENT", "Extent", "Only pixels that it touches (-window=).", None, True, advanced=True)
        self.add("Band", "BANDS", "Bands", "In this order (-bands=).", None, "FILE1", True, True, advanced=True)
        self.add("String", "NODATA", "No data in the inputs", "A number, instead of what they declare; or keep: "
                 "no-data values are numbers (-nodata=).", advanced=True, optional=True)
        self.addOutputs(looks=1)

    def formula(self, parameters, context):
        return self.program.operators[self.parameterAsEnumString(parameters, "OPERATOR", context)].upper()

    def checkParameterValues(self, parameters, context):
        valid, problem = super().checkParameterValues(parameters, context)
        for name in self.files:
            if valid and not parameters.get(name) and name in self.formula(parameters, context):
                return False, f"The operator reads {name}, which is not given."
        return valid, problem

    def commandWords(self, files, parameters, context):
        formula = self.formula(parameters, context)
        layers = [self.raster(parameters, name, context) for name in files if name in formula]
        shared = self.parameterAsBool(parameters, "INTERSECTION", context)
        given = {**files,
                 **{name: self.parameterAsEnumString(parameters, name, context) for name in ("OPERATOR", "MODE")},
                 **{name: self.parameterAsString(parameters, name, context) for name in ("A", "B", "NODATA")},
                 "BANDS": ",".join(map(str, self.parameterAsInts(parameters, "BANDS", context)))}
        return ["lumomixcalc", *(f"-{name.lower()}={value}" for name, value in given.items() if value),
                *self.area(layers if shared else layers[:1], parameters, context),
                *["-extent=intersection"] * shared, *["-clamp"] * self.parameterAsBool(parameters, "CLAMP", context)]

    def area(self, layers, parameters, context):
        """The option that EXTENT stands for, of pixels that all of the layers have."""
        area = self.parameterAsExtent(parameters, "EXTENT", context, layers[0].crs())
        if area.isNull():
            return []
        for layer in layers:
            if area.intersects(layer.extent()):  # else the program refuses it
                area = area.intersect(layer.extent())
        west, south, east, north = area.xMinimum(), area.yMinimum(), area.xMaximum(), area.yMaximum()
        # The place that QGIS gives to a raster without georeferencing, which the program leaves without.
        if layer.extent() == core.QgsRectangle(0, -layer.height(), layer.width(), 0):
            x, y = math.floor(west), math.floor(-north)
            return [f"-region={x}:{y}:{math.ceil(east) - x}:{math.ceil(-south) - y}"]
        return [f"-window={west!r}:{south!r}:{east!r}:{north!r}"]

    def processAlgorithm(self, parameters, context, feedback):
        results = super().processAlgorithm(parameters, context, feedback)
        output = results.get("OUTPUT", "")
        if "PHASE" in self.formula(parameters, context) and context.willLoadLayerOnCompletion(output):
            factor = float(self.parameterAsString(parameters, "A", context).partition(":")[0])
            context.layerToLoadOnCompletionDetails(output).setPostProcessor(phase_style(factor))
        return results


class Coherence(ProgramAlgorithm):
    key, label = "coherence", "Coherence of a pair of complex rasters"
    files = "REFERENCE", "SECONDARY"

    def initAlgorithm(self, configuration=None):
        for name in self.files:
            self.add("RasterLayer", name, name.capitalize(), f"The {name.lower()} image, complex.")
        self.addOutputs(looks=5)

    def commandWords(self, files, parameters, context):
        return ["lumomixcalc-coherence", *files.values()]
