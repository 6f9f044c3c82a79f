"""Writes small TIFFs of every layout and type to begin fuzzing with, the two bytes behind each that
choose operator and output mode: make_tiff_seeds.py FOLDER
"""

import sys
from itertools import product

import numpy as np
from osgeo import gdal

gdal.UseExceptions()
LAYOUTS = ([], ["TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=16"], ["COMPRESS=DEFLATE"],
           ["COMPRESS=LZW", "INTERLEAVE=BAND"], ["COMPRESS=PACKBITS", "BIGTIFF=YES"],
           ["ENDIANNESS=BIG"], ["SPARSE_OK=TRUE"])
TYPES = gdal.GDT_Byte, gdal.GDT_Int16, gdal.GDT_Float32, gdal.GDT_CInt16, gdal.GDT_CFloat32, \
    gdal.GDT_CFloat64

for number, (layout, gdal_type) in enumerate(product(LAYOUTS, TYPES)):
    path = f"{sys.argv[1]}/{number:02}.tif"
    dataset = gdal.GetDriverByName("GTiff").Create(path, 10, 9, 1 + number % 3, gdal_type, layout)
    if "SPARSE_OK=TRUE" not in layout:
        dataset.WriteArray(np.arange(dataset.RasterCount * 90).reshape(-1, 9, 10) % 99)
    if number % 2:
        dataset.SetGeoTransform((6e5, 30, 0, 5e6, 0, -30))
        dataset.SetProjection("EPSG:32632")
        dataset.GetRasterBand(1).SetNoDataValue(7)
        dataset.GetRasterBand(1).SetDescription("first")
    dataset = None
    with open(path, "ab") as file:
        file.write(bytes((number % 13, number % 10)))
