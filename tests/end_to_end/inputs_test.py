"""What is read of an input: numbers before they are averaged, no data of complex integers, what is
lost and said so."""

import numpy as np
from osgeo import gdal

import harness
from harness import write

NAN = np.nan


class Inputs(harness.ProgramTest):
    def test_coarser_pixels_are_made_of_numbers(self):
        signed = {"creationOptions": ["PIXELTYPE=SIGNEDBYTE"], "outputType": gdal.GDT_Byte}
        holes = {"noData": -9999}
        for pixels, options, arguments, expected in (
                ([[255, 1], [255, 1]], signed, (), 0),
                ([[1, 1], [1, 2]], {"outputType": gdal.GDT_Byte}, (), 1.25),
                ([[-9999, 1], [1, 4]], holes, (), 2),
                ([[-9999, 1], [1, 1]], holes, ("-nodata=keep",), -2499),
                ([[-9999, 1j], [3, 2]], holes, (), (5 + 1j) / 3),
                ([[-9999, 1], [1, 1j]], holes, ("-nodata=keep",), (-9997 + 1j) / 4),
                ([[NAN, 1], [1, 4]], {}, (), 2), ([[NAN, 1], [1, 4]], {}, ("-nodata=keep",), NAN),
                ([[-9999, -9999], [-9999, -9999]], holes, (), NAN)):
            pixels = np.tile(pixels, (3, 3))
            write(self.a, pixels.astype(np.result_type(pixels, np.float32)), **options)
            for method in ("average",) + ("bilinear", "cubic") * (expected == 0):
                made, _ = self.made(self.a, "-operator=a1b", "-resolution=2",
                                    f"-resampling={method}", *arguments)
                np.testing.assert_allclose(made.ReadAsArray()[1, 1], expected, rtol=1e-6)

    def test_complex_integers_read_back_as_no_data_or_as_they_were(self):
        for no_data, moved in ((0, {0.4: 1}), (5, {5: 4}), (-3, {-3 - 3j: -2 - 3j})):
            values = [6, 5j, 5, -3 - 3j, 1 + 2j, 0.4] * 100
            write(self.a, [np.array([no_data] + [value / 2 for value in values], np.complex64)],
                  noData=no_data)
            made, report = self.made(self.a, "-mode=cint16", "-operator=a1b", "-a=2")
            expected = [no_data * (1 + 1j)] + [moved.get(value, np.rint(value)) for value in values]
            np.testing.assert_array_equal(made.ReadAsArray(), [expected])
            self.assertEqual(report["bands"][0]["moved"], 100)

    def test_losses_are_told_once(self):
        digits = "elements of {} (File1) are held in single precision: {} is taken as {}"
        for value, gdal_type, told in (
                (16777217, gdal.GDT_Int32, digits.format(self.a, 16777217, 16777216)),
                (16777216, gdal.GDT_Int32, None), (0.5, gdal.GDT_Float64, None),
                (0.1, gdal.GDT_Float64, digits.format(self.a, 0.1, 0.10000000149011612)),
                (1 + 16777217j, gdal.GDT_CInt32, digits.format(self.a, 16777217, 16777216)),
                (1e300, gdal.GDT_Float64, None), (3, gdal.GDT_Int16, "scale 0.5 and offset 2 of")):
            dataset = write(self.a, np.full((2, 900, 900), value), outputType=gdal_type,
                            noData=1e300 if value == 1e300 else None)
            if value == 3:
                dataset.GetRasterBand(1).SetScale(0.5)
                dataset.GetRasterBand(1).SetOffset(2)
            dataset = None
            result = self.done(self.a, self.out, "-operator=a1b", "-overwrite")
            self.assertEqual(result.stderr.count("warning"), 1 if told else 0, result.stderr)
            self.assertIn(told or "", result.stderr)

    def test_container_names_its_first_complex_raster(self):
        container = self.path("container.zarr")
        dataset = gdal.GetDriverByName("Zarr").CreateMultiDimensional(container)
        group = dataset.GetRootGroup()
        sides = [group.CreateDimension(side, None, None, 2) for side in "yx"]
        for name, gdal_type in (("real", gdal.GDT_Float32), ("complex", gdal.GDT_CFloat32)):
            group.CreateMDArray(name, sides, gdal.ExtendedDataType.Create(gdal_type))
        dataset = group = sides = None
        self.refused(f'name one of its subdatasets, such as ZARR:"{container}":/complex', container,
                     self.out, "-operator=a1b")
