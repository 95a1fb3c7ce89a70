// Dewarping for the open player engine: the pictures of every view kind, computed from a decoded
// fisheye picture with the lens and view geometry of fisheye::CLS_FisheyeGeometry, the one the
// correction algorithm uses for its outlines (docs/geometry.md).
//
// A view's picture is a table-driven remap: CLS_RemapTable maps every output pixel to a position in
// the source picture once per (view parameters, source size), and Apply() runs a bilinear remap of
// each frame through it, spread over the cores. No Qt, no decoder: pictures are plain 8-bit
// interleaved buffers (1 to 4 channels: grey, RGB24/BGR24 or RGBA/BGRA alike; channels are not
// interpreted, so any byte order works).
#ifndef FISHEYE_DEWARP_H
#define FISHEYE_DEWARP_H

#include "FisheyeGeometry.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fisheye {

// What a view shows.
enum class n_ViewKind : int {
    Source,   // the whole source picture, scaled to the output
    Fisheye,  // the image circle (the area box) scaled to the output; black outside the circle
    Ptz,      // a perspective cut-out at a position and zoom
    Half,     // the 180-degree view
    Panorama, // the 360-degree panorama
    Lat,      // the longitude/latitude view
};

struct STRUCT_ViewParams {
    n_ViewKind m_eKind = n_ViewKind::Source;
    n_Mount m_eMount = n_Mount::Ceiling;
    // Where the image circle's bounding box lies in the source picture, as fractions of it.
    STRUCT_Area m_tArea{0.0, 1.0, 0.0, 1.0};
    // PTZ view: the position of its centre in the fisheye plane, 0 to 10000 on each axis (the
    // circle's centre at 5000, 5000), and the zoom value, 550 to 15000 (the geometry's zoom is the
    // value / 10000; larger values narrow the view).
    int m_iPtzX = 5000;
    int m_iPtzY = 5000;
    int m_iPtzZoom = 10000;
    // 180 and 360 views: the azimuth at the middle column, in degrees (positive turns the picture
    // so that what was to the east of the middle comes into the middle).
    double m_dRotation = 0.0;
    // The lens's field of view in radians (see CLS_FisheyeGeometry::SetLens).
    double m_dField = CLS_FisheyeGeometry::DEFAULT_FIELD;
    // The output picture's size in pixels.
    int m_iWidth = 0;
    int m_iHeight = 0;

    bool operator==(const STRUCT_ViewParams& _other) const;
    bool operator!=(const STRUCT_ViewParams& _other) const { return !(*this == _other); }
};

// An 8-bit interleaved picture; m_iStride is in bytes (at least width * channels).
struct STRUCT_Image {
    std::uint8_t* m_pData = nullptr;
    int m_iWidth = 0;
    int m_iHeight = 0;
    int m_iChannels = 3;
    int m_iStride = 0;
};

// Where an output pixel samples the source picture: the top-left pixel of its 2 x 2 neighbourhood,
// the weights of the right and lower neighbours in 1/256, and whether those neighbours exist
// (they do not on the last column or row). An entry whose flags lack INSIDE is painted black.
struct STRUCT_RemapEntry {
    std::uint16_t m_uX;
    std::uint16_t m_uY;
    std::uint8_t m_uFracX;
    std::uint8_t m_uFracY;
    std::uint8_t m_uFlags;
    std::uint8_t m_uReserved;
};

// A node of a remap table's grid (see CLS_RemapTable::GRID): the source position less half a pixel,
// in 1/NODE_ONE source pixels.
struct STRUCT_GridNode {
    static constexpr int NODE_ONE = 4096;
    std::int32_t m_iX;
    std::int32_t m_iY;
};

// The remap's inner loop. Every kernel gives the same bytes (the same fixed-point sums); they differ
// in speed only. Best is the fastest one the processor runs.
enum class n_RemapKernel : int {
    Best,
    Scalar, // portable C++
    Avx2,   // x86 with AVX2: eight pixels at a time, the source read with gathers
};

// Threads: Apply only reads the table, so any number of threads may apply one table at once;
// Update must not run while another thread uses the table (the engine keeps one table per view and
// updates it on the thread that renders that view).
class CLS_RemapTable {
public:
    static constexpr std::uint8_t INSIDE = 1;
    static constexpr std::uint8_t STEP_X = 2;
    static constexpr std::uint8_t STEP_Y = 4;
    static constexpr int MAX_SOURCE_SIZE = 65535;
    static constexpr int MAX_OUTPUT_PIXELS = 8192 * 4320; // 8K; the table takes 8 bytes a pixel
    // The grid: source positions computed at every GRID-th pixel of each output row and
    // interpolated linearly in between, in cells of GRID pixels of a row, wherever that stays within
    // GRID_TOLERANCE / 256 of a source pixel of the exact entry, on both axes and every pixel of
    // the cell. Other cells (the image circle's rim, the source's border, strongly curved places)
    // keep their exact entries. Apply reads the table only for the exact cells and makes the
    // others' entries as it goes, from a node of 8 bytes a cell: the table's 8 bytes a pixel were
    // much of the memory traffic of several views. The table keeps every entry all the same, for
    // Entry() and the exact cells.
    static constexpr int GRID = 8;
    static constexpr int GRID_TOLERANCE = 4;

    // Makes the table fit the view and the source size; rebuilds it only when one of them changed.
    // True when the table is usable; false (and an empty table) for sizes out of range (a side of
    // 0, a source side above MAX_SOURCE_SIZE, an output above MAX_OUTPUT_PIXELS) or an invalid
    // area or lens.
    bool Update(const STRUCT_ViewParams& _tParams, int _iSourceWidth, int _iSourceHeight);
    bool IsValid() const { return !m_vecEntries.empty(); }
    // How many times the table was computed: tells a caller (and the tests) whether Update rebuilt.
    int Builds() const { return m_iBuilds; }
    const STRUCT_ViewParams& Params() const { return m_tParams; }
    int SourceWidth() const { return m_iSourceWidth; }
    int SourceHeight() const { return m_iSourceHeight; }
    // The entry Apply uses for an output pixel: interpolated from the grid or exact (see GRID).
    const STRUCT_RemapEntry& Entry(int _iX, int _iY) const {
        return m_vecEntries[static_cast<std::size_t>(_iY) * m_tParams.m_iWidth + _iX];
    }
    // The entries of pixels [_iX, _iX + _iCount) of row _iY, as Entry() gives them: made in _pBuffer
    // (room for _iCount entries) from the grid where its cells are interpolated, or in the table.
    // _iX is a multiple of GRID. _eKernel as for Apply (the entries do not depend on it).
    const STRUCT_RemapEntry* Row(int _iX, int _iY, int _iCount, STRUCT_RemapEntry* _pBuffer,
                                 n_RemapKernel _eKernel = n_RemapKernel::Best) const;
    // Whether Update builds the grid (the default). Without it every entry is exact and Apply reads
    // them all from the table. A change takes effect at the next Update, which then rebuilds.
    void SetInterpolation(bool _blOn) { m_blInterpolation = _blOn; }
    // The setting new tables start with (true unless changed): lets a benchmark compare the grid
    // with exact tables through the engine, which makes its tables itself.
    static void SetDefaultInterpolation(bool _blOn);
    // The share of the grid's cells that are interpolated (0 without the grid).
    double InterpolatedShare() const;

    // Remaps _src into _dst (which must not overlap). Both must have the same channel count, _src the size
    // the table was built for and _dst the view's output size; false (nothing written) otherwise. _iThreads:
    // how many bands the rows are cut into, 0 for one per core; the bands run on the process's shared
    // pool (CLS_ThreadPool::Shared) with the calling thread. The result does not depend on it, nor on
    // _eKernel, which only the tests and benchmarks choose (false for a kernel the processor lacks).
    bool Apply(const STRUCT_Image& _src, const STRUCT_Image& _dst, int _iThreads = 0,
               n_RemapKernel _eKernel = n_RemapKernel::Best) const;
    // Whether this processor (and this build) can run _eKernel.
    static bool KernelSupported(n_RemapKernel _eKernel);

    // Where the output pixel centre (_dX, _dY), in output pixels, looks in the source picture, as
    // fractions of the source picture's width and height; false where the view shows nothing (black).
    static bool SourcePosition(const CLS_FisheyeGeometry& _geometry, const STRUCT_ViewParams& _tParams,
                               const STRUCT_ViewFrame& _tPtzView, double _dX, double _dY,
                               STRUCT_PlanePoint* _ptSource);

private:
    static bool DefaultInterpolation();
    void BuildRows(const CLS_FisheyeGeometry& _geometry, const STRUCT_ViewFrame& _tPtzView, int _iFirst,
                   int _iLast);
    void BuildGrid(const CLS_FisheyeGeometry& _geometry, const STRUCT_ViewFrame& _tPtzView, int _iFirst,
                   int _iLast);
    // Interpolates a cell's nodes into its entries where that meets GRID_TOLERANCE; true if so.
    bool InterpolateCell(int _iColumn, int _iRow);

    bool m_blInterpolation = DefaultInterpolation();
    bool m_blBuiltInterpolation = m_blInterpolation;
    int m_iCellColumns = 0;
    std::vector<STRUCT_GridNode> m_vecNodes;     // per output row, m_iCellColumns + 1 of them
    std::vector<std::uint8_t> m_vecInterpolated; // per cell: 1 where interpolated

    STRUCT_ViewParams m_tParams{};
    int m_iSourceWidth = 0;
    int m_iSourceHeight = 0;
    int m_iBuilds = 0;
    std::vector<STRUCT_RemapEntry> m_vecEntries;
};

// The number of threads Apply uses for _iThreads = 0.
int DefaultThreadCount();

} // namespace fisheye

#endif // FISHEYE_DEWARP_H
