// The stream numbers under which the host knows the images.
#ifndef LUMOMIXCALC_APP_STREAMS_H
#define LUMOMIXCALC_APP_STREAMS_H

namespace lumomixcalc {

inline constexpr int kFile1Stream = 1;
inline constexpr int kFile2Stream = 2;
inline constexpr int kSaveStream = 3;

}  // namespace lumomixcalc

#endif
