// The remap's inner loops (portable and AVX2, the same bytes), for the remaps of Dewarp.cpp and
// YuvRemap.cpp.
#ifndef FISHEYE_REMAP_KERNELS_H
#define FISHEYE_REMAP_KERNELS_H

#include "Dewarp.h"

#include <algorithm>
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

// The output is remapped in column tiles TILE_WIDTH pixels wide, each band of rows going through its
// tiles one after the other: the next row of a tile samples the source next to where the last one
// did (for a panorama, the neighbouring arc of the image circle), still in the caches, where whole
// rows of a wide view go round the image circle and evict it. Chosen by measurement against
// smaller 2-D tiles (docs/performance.md). Even, so that a tile starts on a chroma sample.
constexpr int TILE_WIDTH = 512;

// Calls _fn(x, count) for every column tile of an output _iWidth pixels wide.
template <typename Fn> void ForEachTile(int _iWidth, Fn _fn) {
    for (int x = 0; x < _iWidth; x += TILE_WIDTH)
        _fn(x, std::min(TILE_WIDTH, _iWidth - x));
}

// The row kernel for _iChannels (1 to 4) channels: _eKernel, Best being the fastest the processor
// runs, and the portable one for sources of more than 2 GiB (_uSourceSize bytes), whose offsets
// the vector kernel cannot hold. _eKernel must be supported.
FN_RemapRow SelectRowKernel(int _iChannels, n_RemapKernel _eKernel, std::size_t _uSourceSize);

// The grid of CLS_RemapTable (see GRID): an interpolated cell's entries all have a right and a
// lower neighbour, and their positions lie between the cell's two nodes, which are at most
// MAX_NODE_STEP apart on each axis and at least half an entry unit inside the source (so that every
// value below is non-negative and within 32 bits).
constexpr std::uint8_t GRID_FLAGS = CLS_RemapTable::INSIDE | CLS_RemapTable::STEP_X | CLS_RemapTable::STEP_Y;
constexpr std::int32_t MAX_NODE_STEP = 256 * STRUCT_GridNode::NODE_ONE;
constexpr int NODE_PER_ENTRY_UNIT = STRUCT_GridNode::NODE_ONE / 256;

// The entries of the first _iCount (at most GRID) pixels of a cell running from node _tA to node
// _tB: the reference every grid kernel reproduces.
void InterpolateEntries(const STRUCT_GridNode& _tA, const STRUCT_GridNode& _tB, int _iCount,
                        STRUCT_RemapEntry* _pOut);

// Makes _iCount entries of a row from its grid: the pixels of cell i (i * GRID on) from nodes
// _pNodes[i] and _pNodes[i + 1] where _pInterpolated[i] is set, copied from _pTable otherwise.
using FN_GridRow = void (*)(const STRUCT_GridNode* _pNodes, const std::uint8_t* _pInterpolated,
                            const STRUCT_RemapEntry* _pTable, int _iCount, STRUCT_RemapEntry* _pOut);

// The grid kernel that goes with _eKernel (the portable one where the processor lacks it); they all
// give InterpolateEntries' entries.
FN_GridRow SelectGridRowKernel(n_RemapKernel _eKernel);

// Whether the processor runs AVX2 (and this build has the kernel).
bool HaveAvx2();

} // namespace fisheye

#endif // FISHEYE_REMAP_KERNELS_H
