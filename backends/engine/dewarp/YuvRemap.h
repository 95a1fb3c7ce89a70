// A view's picture straight from a decoder's own planes: luma and chroma are each remapped from their
// own plane through a table of their own (chroma at half the view's resolution each way, as in the
// source), and each output pixel is converted to RGB as it is written. No picture is converted
// whole; only the view's pixels are.
#ifndef FISHEYE_YUV_REMAP_H
#define FISHEYE_YUV_REMAP_H

#include "Dewarp.h"

#include <cstdint>

namespace fisheye {

// The plane layouts decoders hand out.
enum class n_YuvLayout : int {
    I420, // Y, then U and V at half width and half height
    I422, // Y, then U and V at half width, full height
    Nv12, // Y, then U and V interleaved at half width and half height
};

// The output pixel layouts.
enum class n_PixelOrder : int {
    Rgb24,  // red, green, blue
    Bgrx32, // blue, green, red, 0
};

// A decoded picture in its decoder's planes (only read). Planes 0 to 2 are Y, U, V; for NV12 plane
// 1 holds U and V interleaved and plane 2 is unused. m_blFullRange: 0 to 255 (JPEG) rather than
// 16 to 235 (video).
struct STRUCT_YuvImage {
    const std::uint8_t* m_apcPlane[3] = {nullptr, nullptr, nullptr};
    int m_aiStride[3] = {0, 0, 0};
    int m_iWidth = 0;
    int m_iHeight = 0;
    n_YuvLayout m_eLayout = n_YuvLayout::I420;
    bool m_blFullRange = false;
};

// The size of a picture's chroma planes (a half rounds up).
void ChromaSize(n_YuvLayout _eLayout, int _iWidth, int _iHeight, int* _piWidth, int* _piHeight);

// One pixel's conversion (BT.601), the one every kernel uses: 14-bit fixed point, rounded to the
// nearest, clamped to 0..255. _pcRgb receives red, green, blue.
void YuvToRgb(int _iY, int _iU, int _iV, bool _blFullRange, std::uint8_t* _pcRgb);

// Threads: as CLS_RemapTable (Apply only reads; Update must not run while another thread applies).
class CLS_YuvRemap {
public:
    // Makes both tables fit the view, the picture size and the layout; rebuilds only what changed.
    // False (nothing usable) where CLS_RemapTable::Update refuses the sizes or the view.
    bool Update(const STRUCT_ViewParams& _tParams, int _iWidth, int _iHeight, n_YuvLayout _eLayout);
    bool IsValid() const { return m_luma.IsValid() && m_chroma.IsValid(); }
    const CLS_RemapTable& Luma() const { return m_luma; }
    const CLS_RemapTable& Chroma() const { return m_chroma; }

    // Writes the view into _pcDst (_iDstStride bytes a row, at least width * bytes a pixel) in
    // _eOrder. _src must have the size and layout of the last Update; false (nothing written) when
    // it does not, a plane is missing, a stride is too small, or the kernel is not supported. Pixels
    // outside the image circle are black. _iThreads and _eKernel as CLS_RemapTable::Apply: the
    // bytes do not depend on them.
    bool Apply(const STRUCT_YuvImage& _src, std::uint8_t* _pcDst, int _iDstStride, n_PixelOrder _eOrder,
               int _iThreads = 0, n_RemapKernel _eKernel = n_RemapKernel::Best) const;

private:
    CLS_RemapTable m_luma;
    CLS_RemapTable m_chroma;
    n_YuvLayout m_eLayout = n_YuvLayout::I420;
};

} // namespace fisheye

#endif // FISHEYE_YUV_REMAP_H
