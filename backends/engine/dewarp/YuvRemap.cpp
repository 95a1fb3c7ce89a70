// The remap from a decoder's planes; see YuvRemap.h.
#include "YuvRemap.h"

#include "RemapKernels.h"
#include "ThreadPool.h"

#include <algorithm>
#include <cstring>

#if (defined(__x86_64__) || defined(__i386__)) && (defined(__GNUC__) || defined(__clang__))
#define FISHEYE_YUV_X86 1
#include <immintrin.h>
#else
#define FISHEYE_YUV_X86 0
#endif

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

// Converts _iCount remapped pixels from _iFirst on: luma _pcY, and one chroma sample from _pcU and
// _pcV for each pair of pixels. A pixel whose luma entry lies outside the picture is black.
template <n_PixelOrder ORDER>
void ConvertSpan(const STRUCT_RemapEntry* _pEntries, const std::uint8_t* _pcY, const std::uint8_t* _pcU,
                 const std::uint8_t* _pcV, int _iFirst, int _iCount, const STRUCT_Coefficients& _k,
                 std::uint8_t* _pcOut) {
    constexpr int BYTES = n_PixelOrder::Bgrx32 == ORDER ? 4 : 3;
    for (int x = _iFirst; x < _iCount; ++x) {
        std::uint8_t* pcOut = _pcOut + x * BYTES;
        std::uint8_t acRgb[3] = {0, 0, 0};
        if (_pEntries[x].m_uFlags & CLS_RemapTable::INSIDE)
            Convert(_pcY[x], _pcU[x >> 1], _pcV[x >> 1], _k, acRgb);
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

#if FISHEYE_YUV_X86
// One channel of eight pixels: Channel() in 32-bit lanes.
__attribute__((target("avx2"))) inline __m256i ChannelAvx2(__m256i _vSum) {
    const __m256i v =
        _mm256_sub_epi32(_mm256_srai_epi32(_mm256_add_epi32(_vSum, _mm256_set1_epi32(BIAS + HALF)), 14),
                         _mm256_set1_epi32(512));
    return _mm256_min_epi32(_mm256_max_epi32(v, _mm256_setzero_si256()), _mm256_set1_epi32(255));
}

// ConvertSpan eight pixels at a time, with the same 32-bit sums; the last pixels go through it.
template <n_PixelOrder ORDER>
__attribute__((target("avx2"))) void ConvertSpanAvx2(const STRUCT_RemapEntry* _pEntries,
                                                     const std::uint8_t* _pcY, const std::uint8_t* _pcU,
                                                     const std::uint8_t* _pcV, int, int _iCount,
                                                     const STRUCT_Coefficients& _k, std::uint8_t* _pcOut) {
    static_assert(sizeof(STRUCT_RemapEntry) == 8, "two 32-bit words per entry, the flags in the second");
    constexpr int BYTES = n_PixelOrder::Bgrx32 == ORDER ? 4 : 3;
    const __m256i vPairs = _mm256_setr_epi32(0, 0, 1, 1, 2, 2, 3, 3);
    const __m256i vInside = _mm256_set1_epi32(CLS_RemapTable::INSIDE << 16);
    const __m256i vYOffset = _mm256_set1_epi32(_k.m_iYOffset);
    const __m256i v128 = _mm256_set1_epi32(128);
    const __m256i vKy = _mm256_set1_epi32(_k.m_iY);
    const __m256i vKrv = _mm256_set1_epi32(_k.m_iRv);
    const __m256i vKgu = _mm256_set1_epi32(_k.m_iGu);
    const __m256i vKgv = _mm256_set1_epi32(_k.m_iGv);
    const __m256i vKbu = _mm256_set1_epi32(_k.m_iBu);
    // RGB24: the three low bytes of each 32-bit pixel, packed into the first 12 bytes of a lane.
    const __m256i vPack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4,
                                           5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    int x = 0;
    for (; x + 8 <= _iCount; x += 8) {
        std::int64_t llY = 0;
        std::int32_t iU = 0;
        std::int32_t iV = 0;
        std::memcpy(&llY, _pcY + x, 8);
        std::memcpy(&iU, _pcU + x / 2, 4);
        std::memcpy(&iV, _pcV + x / 2, 4);
        const __m256i vY =
            _mm256_mullo_epi32(_mm256_sub_epi32(_mm256_cvtepu8_epi32(_mm_cvtsi64_si128(llY)), vYOffset), vKy);
        const __m256i vU = _mm256_sub_epi32(
            _mm256_permutevar8x32_epi32(_mm256_cvtepu8_epi32(_mm_cvtsi32_si128(iU)), vPairs), v128);
        const __m256i vV = _mm256_sub_epi32(
            _mm256_permutevar8x32_epi32(_mm256_cvtepu8_epi32(_mm_cvtsi32_si128(iV)), vPairs), v128);
        const __m256i vR = ChannelAvx2(_mm256_add_epi32(vY, _mm256_mullo_epi32(vKrv, vV)));
        const __m256i vG = ChannelAvx2(_mm256_sub_epi32(_mm256_sub_epi32(vY, _mm256_mullo_epi32(vKgu, vU)),
                                                        _mm256_mullo_epi32(vKgv, vV)));
        const __m256i vB = ChannelAvx2(_mm256_add_epi32(vY, _mm256_mullo_epi32(vKbu, vU)));
        // The entries' second words, in pixel order: their flags say which pixels are inside.
        const __m256 vLow =
            _mm256_castsi256_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pEntries + x)));
        const __m256 vHigh =
            _mm256_castsi256_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pEntries + x + 4)));
        const __m256i vWords = _mm256_permute4x64_epi64(
            _mm256_castps_si256(_mm256_shuffle_ps(vLow, vHigh, _MM_SHUFFLE(3, 1, 3, 1))),
            _MM_SHUFFLE(3, 1, 2, 0));
        const __m256i vMask = _mm256_cmpeq_epi32(_mm256_and_si256(vWords, vInside), vInside);
        if (n_PixelOrder::Bgrx32 == ORDER) {
            const __m256i vPixels =
                _mm256_or_si256(vB, _mm256_or_si256(_mm256_slli_epi32(vG, 8), _mm256_slli_epi32(vR, 16)));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(_pcOut + x * BYTES),
                                _mm256_and_si256(vPixels, vMask));
        } else {
            const __m256i vPixels = _mm256_shuffle_epi8(
                _mm256_and_si256(
                    _mm256_or_si256(vR, _mm256_or_si256(_mm256_slli_epi32(vG, 8), _mm256_slli_epi32(vB, 16))),
                    vMask),
                vPack);
            alignas(32) std::uint8_t acPacked[32];
            _mm256_store_si256(reinterpret_cast<__m256i*>(acPacked), vPixels);
            std::memcpy(_pcOut + x * BYTES, acPacked, 12);
            std::memcpy(_pcOut + x * BYTES + 12, acPacked + 16, 12);
        }
    }
    ConvertSpan<ORDER>(_pEntries, _pcY, _pcU, _pcV, x, _iCount, _k, _pcOut);
}
#endif

using FN_ConvertSpan = void (*)(const STRUCT_RemapEntry*, const std::uint8_t*, const std::uint8_t*,
                                const std::uint8_t*, int, int, const STRUCT_Coefficients&, std::uint8_t*);

// The conversion that goes with the remap kernel _eKernel.
FN_ConvertSpan SelectConvert(n_PixelOrder _eOrder, n_RemapKernel _eKernel) {
    const bool blBgrx = n_PixelOrder::Bgrx32 == _eOrder;
#if FISHEYE_YUV_X86
    if (n_RemapKernel::Avx2 == _eKernel || (n_RemapKernel::Best == _eKernel && HaveAvx2()))
        return blBgrx ? &ConvertSpanAvx2<n_PixelOrder::Bgrx32> : &ConvertSpanAvx2<n_PixelOrder::Rgb24>;
#else
    (void)_eKernel;
#endif
    return blBgrx ? &ConvertSpan<n_PixelOrder::Bgrx32> : &ConvertSpan<n_PixelOrder::Rgb24>;
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
    // Chroma at half the view's resolution each way, sampled at the centres of 2 x 2 pixel blocks:
    // a quarter of the chroma reads, at no loss where the view does not shrink the picture more
    // than twice (the source's chroma has half its resolution too).
    STRUCT_ViewParams tChroma = _tParams;
    tChroma.m_iWidth = (_tParams.m_iWidth + 1) / 2;
    tChroma.m_iHeight = (_tParams.m_iHeight + 1) / 2;
    const bool blChroma = m_chroma.Update(tChroma, iChromaWidth, iChromaHeight);
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
    const FN_ConvertSpan fnConvert = SelectConvert(_eOrder, _eKernel);
    // Column tiles as in CLS_RemapTable::Apply; each tile's samples stay in the first-level cache
    // between the remap and the conversion, and a chroma row serves two output rows.
    RunInRowBands(m_luma.Params().m_iHeight, _iThreads, [&](int _iFirst, int _iLast) {
        STRUCT_RemapEntry atLuma[TILE_WIDTH];
        STRUCT_RemapEntry atChroma[TILE_WIDTH / 2];
        std::uint8_t acY[TILE_WIDTH];
        std::uint8_t acUv[TILE_WIDTH]; // NV12: U and V interleaved
        std::uint8_t acU[TILE_WIDTH / 2];
        std::uint8_t acV[TILE_WIDTH / 2];
        ForEachTile(iWidth, [&](int _iX, int _iCount) {
            const int iChromaCount = (_iCount + 1) / 2;
            int iChromaRow = -1;
            for (int y = _iFirst; y < _iLast; ++y) {
                const STRUCT_RemapEntry* pLuma = m_luma.Row(_iX, y, _iCount, atLuma, _eKernel);
                fnY(pLuma, _iCount, tY, acY);
                if (y / 2 != iChromaRow) {
                    iChromaRow = y / 2;
                    const STRUCT_RemapEntry* pChroma =
                        m_chroma.Row(_iX / 2, iChromaRow, iChromaCount, atChroma, _eKernel);
                    if (blNv12) {
                        fnU(pChroma, iChromaCount, tU, acUv);
                        for (int i = 0; i < iChromaCount; ++i) {
                            acU[i] = acUv[2 * i];
                            acV[i] = acUv[2 * i + 1];
                        }
                    } else {
                        fnU(pChroma, iChromaCount, tU, acU);
                        fnV(pChroma, iChromaCount, tV, acV);
                    }
                    // A block whose centre lies outside the picture, at the rim of what the view
                    // shows: no colour rather than the remap's black chroma (green).
                    for (int i = 0; i < iChromaCount; ++i)
                        if (!(pChroma[i].m_uFlags & CLS_RemapTable::INSIDE))
                            acU[i] = acV[i] = 128;
                }
                fnConvert(pLuma, acY, acU, acV, 0, _iCount, k,
                          _pcDst + static_cast<std::size_t>(y) * _iDstStride +
                              static_cast<std::size_t>(_iX) * iBytes);
            }
        });
    });
    return true;
}

} // namespace fisheye
