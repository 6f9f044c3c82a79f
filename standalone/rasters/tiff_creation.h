#ifndef LUMOMIXCALC_STANDALONE_RASTERS_TIFF_CREATION_H
#define LUMOMIXCALC_STANDALONE_RASTERS_TIFF_CREATION_H

#include <cpl_string.h>
#include <gdal_priv.h>

#include <string>
#include <vector>

namespace lumomixcalc::standalone {

// What a new TIFF is given that the user did not ask for.

// Classic TIFF ends at 4 GB; this takes the larger layout where that may not be enough, which the
// driver alone does only when it knows the final size.
CPLStringList WithBigTiff(CPLStringList options);

// Whether creation options matter to where the elements lie and to nothing later.
bool OnlyLayOut(const std::vector<std::string>& options);

// Blocks that reach over many strips of a run; lower ones are complete strip by strip.
inline bool IsHighBlock(int rows) { return rows >= 32; }

// How many threads of the driver's may encode blocks of a new TIFF at once: as many as there are
// processors, while the blocks on their way take little memory. 0 where the user chose or no block
// is encoded, and where the driver might have to read one again to add another band: GDAL 3.6 reads
// wrongly what its threads have not yet written.
int UsefulEncoders(GDALDataset& dataset, const CPLStringList& options);

}  // namespace lumomixcalc::standalone

#endif
