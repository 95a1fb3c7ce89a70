// The remap from a decoder's planes; see YuvRemap.h.
#include "YuvRemap.h"

#include "RemapKernels.h"
#include "ThreadPool.h"

#include <algorithm>

namespace fisheye {

namespace {

// BT.601 in 14-bit fixed point: limited range scales luma by 255/219 and chroma by 255/224.
struct STRUCT_Coefficients {
    int m_iYOffset;
    int m_iY;
    int m_iRv;
    int m_iGu;
    int m_iGv;
    int m_iBu;
};
constexpr STRUCT_Coefficients LIMITED{16, 19077, 26149, 6419, 13320, 33050};
constexpr STRUCT_Coefficients FULL{0, 16384, 22970, 5638, 11700, 29032};

// Keeps the sums non-negative before the shift (the lowest is above -2^23), so that it rounds the
// same on every compiler.
constexpr int BIAS = 512 << 14;
constexpr int HALF = 1 << 13;

inline std::uint8_t Channel(int _iSum) {
    return static_cast<std::uint8_t>(std::clamp(((_iSum + BIAS + HALF) >> 14) - 512, 0, 255));
}

inline void Convert(int _iY, int _iU, int _iV, const STRUCT_Coefficients& _k, std::uint8_t* _pcRgb) {
    const int iY = (_iY - _k.m_iYOffset) * _k.m_iY;
    const int iU = _iU - 128;
    const int iV = _iV - 128;
    _pcRgb[0] = Channel(iY + _k.m_iRv * iV);
    _pcRgb[1] = Channel(iY - _k.m_iGu * iU - _k.m_iGv * iV);
    _pcRgb[2] = Channel(iY + _k.m_iBu * iU);
}

// Converts _iCount remapped pixels: luma _pcY, chroma every _iStep bytes from _pcU and _pcV. A
// pixel whose luma entry lies outside the picture is black.
template <n_PixelOrder ORDER>
void ConvertSpan(const STRUCT_RemapEntry* _pEntries, const std::uint8_t* _pcY, const std::uint8_t* _pcU,
                 const std::uint8_t* _pcV, int _iStep, int _iCount, const STRUCT_Coefficients& _k,
                 std::uint8_t* _pcOut) {
    constexpr int BYTES = n_PixelOrder::Bgrx32 == ORDER ? 4 : 3;
    for (int x = 0; x < _iCount; ++x) {
        std::uint8_t* pcOut = _pcOut + x * BYTES;
        std::uint8_t acRgb[3] = {0, 0, 0};
        if (_pEntries[x].m_uFlags & CLS_RemapTable::INSIDE)
            Convert(_pcY[x], _pcU[x * _iStep], _pcV[x * _iStep], _k, acRgb);
        if (n_PixelOrder::Bgrx32 == ORDER) {
            pcOut[0] = acRgb[2];
            pcOut[1] = acRgb[1];
            pcOut[2] = acRgb[0];
            pcOut[3] = 0;
        } else {
            pcOut[0] = acRgb[0];
            pcOut[1] = acRgb[1];
            pcOut[2] = acRgb[2];
        }
    }
}

STRUCT_RowSource Plane(const std::uint8_t* _pcData, int _iStride, int _iRowBytes, int _iRows) {
    const std::size_t uStride = static_cast<std::size_t>(_iStride);
    return {_pcData, uStride,
            (static_cast<std::size_t>(_iRows) - 1) * uStride + static_cast<std::size_t>(_iRowBytes)};
}

} // namespace

void ChromaSize(n_YuvLayout _eLayout, int _iWidth, int _iHeight, int* _piWidth, int* _piHeight) {
    *_piWidth = (_iWidth + 1) / 2;
    *_piHeight = n_YuvLayout::I422 == _eLayout ? _iHeight : (_iHeight + 1) / 2;
}

void YuvToRgb(int _iY, int _iU, int _iV, bool _blFullRange, std::uint8_t* _pcRgb) {
    Convert(_iY, _iU, _iV, _blFullRange ? FULL : LIMITED, _pcRgb);
}

bool CLS_YuvRemap::Update(const STRUCT_ViewParams& _tParams, int _iWidth, int _iHeight,
                          n_YuvLayout _eLayout) {
    int iChromaWidth = 0;
    int iChromaHeight = 0;
    ChromaSize(_eLayout, _iWidth, _iHeight, &iChromaWidth, &iChromaHeight);
    m_eLayout = _eLayout;
    // Both tables always, so that a refused size leaves neither usable.
    const bool blLuma = m_luma.Update(_tParams, _iWidth, _iHeight);
    const bool blChroma = m_chroma.Update(_tParams, iChromaWidth, iChromaHeight);
    return blLuma && blChroma;
}

bool CLS_YuvRemap::Apply(const STRUCT_YuvImage& _src, std::uint8_t* _pcDst, int _iDstStride,
                         n_PixelOrder _eOrder, int _iThreads, n_RemapKernel _eKernel) const {
    if (!IsValid() || !_pcDst || _src.m_eLayout != m_eLayout || _src.m_iWidth != m_luma.SourceWidth() ||
        _src.m_iHeight != m_luma.SourceHeight() || !CLS_RemapTable::KernelSupported(_eKernel))
        return false;
    const bool blNv12 = n_YuvLayout::Nv12 == m_eLayout;
    const int iChromaChannels = blNv12 ? 2 : 1;
    const int iChromaWidth = m_chroma.SourceWidth();
    const int iChromaHeight = m_chroma.SourceHeight();
    if (!_src.m_apcPlane[0] || !_src.m_apcPlane[1] || (!blNv12 && !_src.m_apcPlane[2]) ||
        _src.m_aiStride[0] < _src.m_iWidth || _src.m_aiStride[1] < iChromaWidth * iChromaChannels ||
        (!blNv12 && _src.m_aiStride[2] < iChromaWidth))
        return false;
    const int iWidth = m_luma.Params().m_iWidth;
    const int iBytes = n_PixelOrder::Bgrx32 == _eOrder ? 4 : 3;
    if (_iDstStride < iWidth * iBytes)
        return false;
    const STRUCT_RowSource tY = Plane(_src.m_apcPlane[0], _src.m_aiStride[0], _src.m_iWidth, _src.m_iHeight);
    const STRUCT_RowSource tU =
        Plane(_src.m_apcPlane[1], _src.m_aiStride[1], iChromaWidth * iChromaChannels, iChromaHeight);
    const STRUCT_RowSource tV =
        blNv12 ? tU : Plane(_src.m_apcPlane[2], _src.m_aiStride[2], iChromaWidth, iChromaHeight);
    const FN_RemapRow fnY = SelectRowKernel(1, _eKernel, tY.m_uSize);
    const FN_RemapRow fnU = SelectRowKernel(iChromaChannels, _eKernel, tU.m_uSize);
    const FN_RemapRow fnV = SelectRowKernel(1, _eKernel, tV.m_uSize);
    const STRUCT_Coefficients& k = _src.m_blFullRange ? FULL : LIMITED;
    const auto fnConvert = n_PixelOrder::Bgrx32 == _eOrder ? &ConvertSpan<n_PixelOrder::Bgrx32>
                                                           : &ConvertSpan<n_PixelOrder::Rgb24>;
    // Column tiles as in CLS_RemapTable::Apply; each tile's samples stay in the first-level cache
    // between the remap and the conversion.
    constexpr int TILE = 256;
    RunInRowBands(m_luma.Params().m_iHeight, _iThreads, [&](int _iFirst, int _iLast) {
        std::uint8_t acY[TILE];
        std::uint8_t acU[TILE * 2];
        std::uint8_t acV[TILE];
        for (int x0 = 0; x0 < iWidth; x0 += TILE) {
            const int iCount = std::min(TILE, iWidth - x0);
            for (int y = _iFirst; y < _iLast; ++y) {
                const STRUCT_RemapEntry* pLuma = &m_luma.Entry(x0, y);
                const STRUCT_RemapEntry* pChroma = &m_chroma.Entry(x0, y);
                fnY(pLuma, iCount, tY, acY);
                fnU(pChroma, iCount, tU, acU);
                if (!blNv12)
                    fnV(pChroma, iCount, tV, acV);
                fnConvert(pLuma, acY, acU, blNv12 ? acU + 1 : acV, iChromaChannels, iCount, k,
                          _pcDst + static_cast<std::size_t>(y) * _iDstStride +
                              static_cast<std::size_t>(x0) * iBytes);
            }
        }
    });
    return true;
}

} // namespace fisheye
