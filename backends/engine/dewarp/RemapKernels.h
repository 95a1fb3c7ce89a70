// The remap's inner loops (portable and AVX2, the same bytes), for the remaps of Dewarp.cpp and
// YuvRemap.cpp.
#ifndef FISHEYE_REMAP_KERNELS_H
#define FISHEYE_REMAP_KERNELS_H

#include "Dewarp.h"

#include <cstddef>
#include <cstdint>

namespace fisheye {

// The source picture as the remap kernels read it: m_uSize is how many bytes from m_pData on belong
// to it (the last row ends at its last pixel, whatever the stride).
struct STRUCT_RowSource {
    const std::uint8_t* m_pData;
    std::size_t m_uStride;
    std::size_t m_uSize;
};

// Remaps _iCount pixels of a row of the table into _pOut.
using FN_RemapRow = void (*)(const STRUCT_RemapEntry* _pEntries, int _iCount,
                             const STRUCT_RowSource& _tSource, std::uint8_t* _pOut);

// The row kernel for _iChannels (1 to 4) channels: _eKernel, Best being the fastest the processor
// runs, and the portable one for sources of more than 2 GiB (_uSourceSize bytes), whose offsets
// the vector kernel cannot hold. _eKernel must be supported.
FN_RemapRow SelectRowKernel(int _iChannels, n_RemapKernel _eKernel, std::size_t _uSourceSize);

// Whether the processor runs AVX2 (and this build has the kernel).
bool HaveAvx2();

} // namespace fisheye

#endif // FISHEYE_REMAP_KERNELS_H
