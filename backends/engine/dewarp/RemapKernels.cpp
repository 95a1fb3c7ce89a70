// The remap's row kernels; see RemapKernels.h.
#include "RemapKernels.h"

#include <algorithm>
#include <limits>

#if (defined(__x86_64__) || defined(__i386__)) && (defined(__GNUC__) || defined(__clang__))
#define FISHEYE_DEWARP_X86 1
#include <immintrin.h>
#else
#define FISHEYE_DEWARP_X86 0
#endif

namespace fisheye {

namespace {

// One output pixel. The arithmetic every kernel reproduces exactly: the four weights once per pixel
// (they sum to 65536), the weighted sum of each channel rounded to the nearest.
template <int CHANNELS>
inline void RemapPixel(const STRUCT_RemapEntry& _tEntry, const STRUCT_RowSource& _tSource,
                       std::uint8_t* _pOut) {
    if (!(_tEntry.m_uFlags & CLS_RemapTable::INSIDE)) {
        for (int c = 0; c < CHANNELS; ++c)
            _pOut[c] = 0;
        return;
    }
    const std::uint8_t* p00 =
        _tSource.m_pData + _tEntry.m_uY * _tSource.m_uStride + _tEntry.m_uX * std::size_t{CHANNELS};
    const std::uint8_t* p01 = p00 + ((_tEntry.m_uFlags & CLS_RemapTable::STEP_X) ? CHANNELS : 0);
    const std::size_t uDown = (_tEntry.m_uFlags & CLS_RemapTable::STEP_Y) ? _tSource.m_uStride : 0;
    const std::uint8_t* p10 = p00 + uDown;
    const std::uint8_t* p11 = p01 + uDown;
    const unsigned uFx = _tEntry.m_uFracX;
    const unsigned uFy = _tEntry.m_uFracY;
    const unsigned uW11 = uFx * uFy;
    const unsigned uW01 = (uFx << 8) - uW11;
    const unsigned uW10 = (uFy << 8) - uW11;
    const unsigned uW00 = 65536u - uW01 - uW10 - uW11;
    for (int c = 0; c < CHANNELS; ++c)
        _pOut[c] = static_cast<std::uint8_t>(
            (p00[c] * uW00 + p01[c] * uW01 + p10[c] * uW10 + p11[c] * uW11 + 32768u) >> 16);
}

// The grid's interpolation in node units: _iK / GRID of the way from _iA to _iB, rounded down (the
// bias keeps the shifted value non-negative, so that it rounds the same everywhere).
constexpr int GRID_SHIFT = 3;
static_assert(1 << GRID_SHIFT == CLS_RemapTable::GRID, "a shift divides by the grid step");
constexpr std::int32_t LERP_BIAS = 1 << 26; // above MAX_NODE_STEP * 2 * GRID
static_assert(LERP_BIAS > 2 * MAX_NODE_STEP * CLS_RemapTable::GRID, "products within the bias");

inline std::int32_t NodeLerp(std::int32_t _iA, std::int32_t _iB, int _iK) {
    return _iA + (((_iB - _iA) * _iK + LERP_BIAS) >> GRID_SHIFT) - (LERP_BIAS >> GRID_SHIFT);
}

// A node position in entry units (1/256 pixel), rounded to the nearest.
inline int EntryUnits(std::int32_t _iNode) {
    return (_iNode + NODE_PER_ENTRY_UNIT / 2) / NODE_PER_ENTRY_UNIT;
}

void GridRowScalar(const STRUCT_GridNode* _pNodes, const std::uint8_t* _pInterpolated,
                   const STRUCT_RemapEntry* _pTable, int _iCount, STRUCT_RemapEntry* _pOut) {
    for (int x = 0; x < _iCount; x += CLS_RemapTable::GRID) {
        const int iCell = x / CLS_RemapTable::GRID;
        const int iPixels = std::min(CLS_RemapTable::GRID, _iCount - x);
        if (_pInterpolated[iCell])
            InterpolateEntries(_pNodes[iCell], _pNodes[iCell + 1], iPixels, _pOut + x);
        else
            std::copy(_pTable + x, _pTable + x + iPixels, _pOut + x);
    }
}

template <int CHANNELS>
void RemapRowScalar(const STRUCT_RemapEntry* _pEntries, int _iCount, const STRUCT_RowSource& _tSource,
                    std::uint8_t* _pOut) {
    for (int x = 0; x < _iCount; ++x)
        RemapPixel<CHANNELS>(_pEntries[x], _tSource, _pOut + x * CHANNELS);
}

#if FISHEYE_DEWARP_X86
#define FISHEYE_AVX2 __attribute__((target("avx2")))

bool CpuHasAvx2() {
    static const bool s_blHave = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") != 0;
    }();
    return s_blHave;
}

template <int CHANNELS> FISHEYE_AVX2 inline __m256i TimesChannels(__m256i _vX) {
    if (CHANNELS == 1)
        return _vX;
    if (CHANNELS == 2)
        return _mm256_slli_epi32(_vX, 1);
    if (CHANNELS == 3)
        return _mm256_add_epi32(_mm256_slli_epi32(_vX, 1), _vX);
    return _mm256_slli_epi32(_vX, 2);
}

// The pshufb pattern that spreads the 8 bytes read at a pixel (the pixel, its right neighbour and
// what follows) into 16-bit pairs (pixel, neighbour), one pair per channel slot; _iQword picks the
// 8 bytes of the 128-bit lane. Slots past the channels get zeros.
template <int CHANNELS> FISHEYE_AVX2 inline __m256i PairPattern(int _iQword) {
    alignas(32) std::int8_t acPattern[32];
    for (int iLane = 0; iLane < 2; ++iLane)
        for (int c = 0; c < 4; ++c) {
            std::int8_t* pc = acPattern + iLane * 16 + c * 4;
            pc[0] = static_cast<std::int8_t>(c < CHANNELS ? _iQword * 8 + c : -1);
            pc[1] = -1;
            pc[2] = static_cast<std::int8_t>(c < CHANNELS ? _iQword * 8 + CHANNELS + c : -1);
            pc[3] = -1;
        }
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(acPattern));
}

// The vertical step for the four channel slots of one pixel per 128-bit lane: _vTop and _vBottom
// hold the two rows' horizontal sums 256 a + fx (b - a) (0 to 65280) in 32-bit lanes, _vWy the pair
// (256 - fy, fy). The rows go into one pmaddwd as signed 16-bit values less 32768, which the bias
// puts back. (256 - fy) top + fy bottom is the scalar four-weight sum, so it rounds the same.
FISHEYE_AVX2 inline __m256i Vertical(__m256i _vTop, __m256i _vBottom, __m256i _vWy) {
    const __m256i vSign = _mm256_set1_epi32(static_cast<int>(0x80008000u));
    const __m256i vBias = _mm256_set1_epi32(256 * 32768 + 32768);
    const __m256i vPairs =
        _mm256_xor_si256(_mm256_blend_epi16(_vTop, _mm256_slli_epi32(_vBottom, 16), 0xAA), vSign);
    return _mm256_srli_epi32(_mm256_add_epi32(_mm256_madd_epi16(vPairs, _vWy), vBias), 16);
}

// One pixel per 128-bit lane: the pair pattern _vPattern picks it out of both rows' gathered bytes,
// _vWx and _vWy are its horizontal and vertical weight pairs.
FISHEYE_AVX2 inline __m256i Bilinear(__m256i _vTop, __m256i _vBottom, __m256i _vPattern, __m256i _vWx,
                                     __m256i _vWy) {
    return Vertical(_mm256_madd_epi16(_mm256_shuffle_epi8(_vTop, _vPattern), _vWx),
                    _mm256_madd_epi16(_mm256_shuffle_epi8(_vBottom, _vPattern), _vWx), _vWy);
}

// Eight entries read for the vector kernels: which pixels are inside, the byte offsets of their top
// and bottom source rows' pixels, and their weight pairs (256 - fx, fx) and (256 - fy, fy), in
// 32-bit lanes. The entries come in the lane order 0, 1, 4, 5 | 2, 3, 6, 7 (the order 64-bit
// gathers return them in), or in pixel order for PIXEL_ORDER.
struct STRUCT_EntryGroup {
    __m256i m_vIn;
    __m256i m_v00;
    __m256i m_v10;
    __m256i m_vWx;
    __m256i m_vWy;
};

template <int CHANNELS, bool PIXEL_ORDER>
FISHEYE_AVX2 inline STRUCT_EntryGroup ReadEntries(const STRUCT_RemapEntry* _pEntries, __m256i _vStride) {
    static_assert(sizeof(STRUCT_RemapEntry) == 8, "two 32-bit words per entry");
    // The flags are the third byte of an entry's second word, the fractions its first two bytes.
    const __m256i vInside = _mm256_set1_epi32(CLS_RemapTable::INSIDE << 16);
    const __m256i vStepY = _mm256_set1_epi32(CLS_RemapTable::STEP_Y << 16);
    const __m256i vByte = _mm256_set1_epi32(0xFF);
    const __m256i v256 = _mm256_set1_epi32(256);
    const __m256 vE0 = _mm256_castsi256_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pEntries)));
    const __m256 vE1 =
        _mm256_castsi256_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pEntries + 4)));
    __m256i vXY = _mm256_castps_si256(_mm256_shuffle_ps(vE0, vE1, 0x88));
    __m256i vWord = _mm256_castps_si256(_mm256_shuffle_ps(vE0, vE1, 0xDD));
    if (PIXEL_ORDER) {
        const __m256i vOrder = _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7);
        vXY = _mm256_permutevar8x32_epi32(vXY, vOrder);
        vWord = _mm256_permutevar8x32_epi32(vWord, vOrder);
    }
    STRUCT_EntryGroup tGroup;
    tGroup.m_vIn = _mm256_cmpeq_epi32(_mm256_and_si256(vWord, vInside), vInside);
    // Pixels outside read the picture's first bytes with zero fractions, and are blacked out at the end.
    const __m256i vFlags = _mm256_and_si256(vWord, tGroup.m_vIn);
    const __m256i vX = _mm256_and_si256(vXY, _mm256_set1_epi32(0xFFFF));
    const __m256i vY = _mm256_srli_epi32(vXY, 16);
    tGroup.m_v00 = _mm256_and_si256(
        _mm256_add_epi32(_mm256_mullo_epi32(vY, _vStride), TimesChannels<CHANNELS>(vX)), tGroup.m_vIn);
    tGroup.m_v10 = _mm256_add_epi32(
        tGroup.m_v00,
        _mm256_and_si256(_mm256_cmpeq_epi32(_mm256_and_si256(vFlags, vStepY), vStepY), _vStride));
    const __m256i vFx = _mm256_and_si256(vFlags, vByte);
    const __m256i vFy = _mm256_and_si256(_mm256_srli_epi32(vFlags, 8), vByte);
    tGroup.m_vWx = _mm256_or_si256(_mm256_sub_epi32(v256, vFx), _mm256_slli_epi32(vFx, 16));
    tGroup.m_vWy = _mm256_or_si256(_mm256_sub_epi32(v256, vFy), _mm256_slli_epi32(vFy, 16));
    return tGroup;
}

// Eight pixels at a time. Each source row of a pixel is one 8-byte read of a gather (the pixel and
// its right neighbour, at most 8 bytes for up to 4 channels; without a right neighbour the bytes
// after the pixel get a zero weight), spread into 16-bit pairs and weighted with pmaddwd:
// RemapPixel's sums exactly. A group whose reads would pass the picture's last byte, and the row's
// last pixels, go through RemapPixel.
template <int CHANNELS>
FISHEYE_AVX2 void RemapRowAvx2(const STRUCT_RemapEntry* _pEntries, int _iCount,
                               const STRUCT_RowSource& _tSource, std::uint8_t* _pOut) {
    const long long* pllBase = reinterpret_cast<const long long*>(_tSource.m_pData);
    const __m256i vStride = _mm256_set1_epi32(static_cast<int>(_tSource.m_uStride));
    // The highest offset an 8-byte read may start at (Apply keeps the size within int).
    const __m256i vLast = _mm256_set1_epi32(static_cast<int>(static_cast<long long>(_tSource.m_uSize) - 8));
    const __m256i vFirst = PairPattern<CHANNELS>(0);
    const __m256i vSecond = PairPattern<CHANNELS>(1);
    int x = 0;
    for (; x + 8 <= _iCount; x += 8) {
        const STRUCT_EntryGroup tGroup = ReadEntries<CHANNELS, false>(_pEntries + x, vStride);
        const __m256i vIn = tGroup.m_vIn;
        const __m256i v00 = tGroup.m_v00;
        const __m256i v10 = tGroup.m_v10;
        if (_mm256_movemask_epi8(_mm256_cmpgt_epi32(v10, vLast))) {
            for (int i = x; i < x + 8; ++i)
                RemapPixel<CHANNELS>(_pEntries[i], _tSource, _pOut + i * CHANNELS);
            continue;
        }
        // Offsets in the pixels' order: each gather brings two pixels per 128-bit lane, pixels
        // 0, 1 | 2, 3 and 4, 5 | 6, 7.
        const __m256i vTopIdx = _mm256_permute4x64_epi64(v00, 0xD8);
        const __m256i vBottomIdx = _mm256_permute4x64_epi64(v10, 0xD8);
        const __m256i vTopA = _mm256_i32gather_epi64(pllBase, _mm256_castsi256_si128(vTopIdx), 1);
        const __m256i vTopB = _mm256_i32gather_epi64(pllBase, _mm256_extracti128_si256(vTopIdx, 1), 1);
        const __m256i vBottomA = _mm256_i32gather_epi64(pllBase, _mm256_castsi256_si128(vBottomIdx), 1);
        const __m256i vBottomB = _mm256_i32gather_epi64(pllBase, _mm256_extracti128_si256(vBottomIdx, 1), 1);
        // The weight pairs come in the lanes' order 0, 1, 4, 5 | 2, 3, 6, 7: broadcasting 32-bit
        // lane k of each 128-bit lane gives the weights of pixels 0 | 2 (k = 0), 1 | 3, 4 | 6 and
        // 5 | 7, which is where the pair patterns put those pixels.
        const __m256i vWx = tGroup.m_vWx;
        const __m256i vWy = tGroup.m_vWy;
        const __m256i vR02 = Bilinear(vTopA, vBottomA, vFirst, _mm256_shuffle_epi32(vWx, 0x00),
                                      _mm256_shuffle_epi32(vWy, 0x00));
        const __m256i vR13 = Bilinear(vTopA, vBottomA, vSecond, _mm256_shuffle_epi32(vWx, 0x55),
                                      _mm256_shuffle_epi32(vWy, 0x55));
        const __m256i vR46 = Bilinear(vTopB, vBottomB, vFirst, _mm256_shuffle_epi32(vWx, 0xAA),
                                      _mm256_shuffle_epi32(vWy, 0xAA));
        const __m256i vR57 = Bilinear(vTopB, vBottomB, vSecond, _mm256_shuffle_epi32(vWx, 0xFF),
                                      _mm256_shuffle_epi32(vWy, 0xFF));
        // Four bytes per pixel in the order 0, 1, 4, 5 | 2, 3, 6, 7, black outside, then in order.
        __m256i vOut = _mm256_packus_epi16(_mm256_packus_epi32(vR02, vR13), _mm256_packus_epi32(vR46, vR57));
        vOut = _mm256_permute4x64_epi64(_mm256_and_si256(vOut, vIn), 0xD8);
        std::uint8_t* pOut = _pOut + x * CHANNELS;
        if (CHANNELS == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(pOut), vOut);
        } else if (CHANNELS == 3) {
            const __m256i vPack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0,
                                                   1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
            vOut = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(vOut, vPack),
                                               _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(pOut), _mm256_castsi256_si128(vOut));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(pOut + 16), _mm256_extracti128_si256(vOut, 1));
        } else if (CHANNELS == 2) {
            const __m256i vPack = _mm256_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1,
                                                   0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1);
            vOut = _mm256_permute4x64_epi64(_mm256_shuffle_epi8(vOut, vPack), 0x08);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(pOut), _mm256_castsi256_si128(vOut));
        } else {
            const __m256i vPack =
                _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 4, 8, 12, -1,
                                 -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
            vOut = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(vOut, vPack),
                                               _mm256_setr_epi32(0, 4, 1, 1, 1, 1, 1, 1));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(pOut), _mm256_castsi256_si128(vOut));
        }
    }
    for (; x < _iCount; ++x)
        RemapPixel<CHANNELS>(_pEntries[x], _tSource, _pOut + x * CHANNELS);
}

// The two low bytes of each 32-bit lane (a pixel and its right neighbour) as a 16-bit pair.
FISHEYE_AVX2 inline __m256i BytePairs(__m256i _v) {
    return _mm256_or_si256(_mm256_and_si256(_v, _mm256_set1_epi32(0xFF)),
                           _mm256_slli_epi32(_mm256_and_si256(_v, _mm256_set1_epi32(0xFF00)), 8));
}

// RemapRowAvx2 for one channel (the planes' luma and chroma): eight pixels a step, each source row
// of a pixel one 4-byte read of a 32-bit gather (the pixel and its right neighbour in its two low
// bytes), so that every lane works; the same sums as RemapPixel.
template <>
FISHEYE_AVX2 void RemapRowAvx2<1>(const STRUCT_RemapEntry* _pEntries, int _iCount,
                                  const STRUCT_RowSource& _tSource, std::uint8_t* _pOut) {
    const int* piBase = reinterpret_cast<const int*>(_tSource.m_pData);
    const __m256i vStride = _mm256_set1_epi32(static_cast<int>(_tSource.m_uStride));
    // The highest offset a 4-byte read may start at (Apply keeps the size within int).
    const __m256i vLast = _mm256_set1_epi32(static_cast<int>(static_cast<long long>(_tSource.m_uSize) - 4));
    // The low byte of each 32-bit lane, four to a 128-bit lane, then both lanes' four together.
    const __m256i vPack = _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 4,
                                           8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i vJoin = _mm256_setr_epi32(0, 4, 1, 1, 1, 1, 1, 1);
    int x = 0;
    for (; x + 8 <= _iCount; x += 8) {
        const STRUCT_EntryGroup tGroup = ReadEntries<1, true>(_pEntries + x, vStride);
        const __m256i v00 = tGroup.m_v00;
        const __m256i v10 = tGroup.m_v10;
        if (_mm256_movemask_epi8(_mm256_cmpgt_epi32(v10, vLast))) {
            for (int i = x; i < x + 8; ++i)
                RemapPixel<1>(_pEntries[i], _tSource, _pOut + i);
            continue;
        }
        const __m256i vTop = _mm256_i32gather_epi32(piBase, v00, 1);
        const __m256i vBottom = _mm256_i32gather_epi32(piBase, v10, 1);
        const __m256i vWx = tGroup.m_vWx;
        const __m256i vWy = tGroup.m_vWy;
        // Without a right neighbour fx is 0 and the byte read beside the pixel does not count.
        const __m256i vSum = Vertical(_mm256_madd_epi16(BytePairs(vTop), vWx),
                                      _mm256_madd_epi16(BytePairs(vBottom), vWx), vWy);
        const __m256i vBytes = _mm256_permutevar8x32_epi32(
            _mm256_shuffle_epi8(_mm256_and_si256(vSum, tGroup.m_vIn), vPack), vJoin);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(_pOut + x), _mm256_castsi256_si128(vBytes));
    }
    for (; x < _iCount; ++x)
        RemapPixel<1>(_pEntries[x], _tSource, _pOut + x);
}

// A node coordinate's run over a cell, from _iA to _iB, in entry units: NodeLerp and EntryUnits for
// the eight pixels _vK.
FISHEYE_AVX2 inline __m256i GridRun(std::int32_t _iA, std::int32_t _iB, __m256i _vK, __m256i _vBias,
                                    __m256i _vHalf) {
    static_assert(NODE_PER_ENTRY_UNIT == 16, "entry units are node units shifted by 4");
    const __m256i vStep = _mm256_srai_epi32(
        _mm256_add_epi32(_mm256_mullo_epi32(_mm256_set1_epi32(_iB - _iA), _vK), _vBias), GRID_SHIFT);
    const __m256i vNode = _mm256_add_epi32(_mm256_set1_epi32(_iA - (LERP_BIAS >> GRID_SHIFT)), vStep);
    return _mm256_srai_epi32(_mm256_add_epi32(vNode, _vHalf), 4);
}

// GridRowScalar eight pixels, a whole cell, at a time, with the same 32-bit sums.
FISHEYE_AVX2 void GridRowAvx2(const STRUCT_GridNode* _pNodes, const std::uint8_t* _pInterpolated,
                              const STRUCT_RemapEntry* _pTable, int _iCount, STRUCT_RemapEntry* _pOut) {
    static_assert(CLS_RemapTable::GRID == 8 && sizeof(STRUCT_RemapEntry) == 8, "a cell in two vectors");
    const __m256i vK = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    const __m256i vBias = _mm256_set1_epi32(LERP_BIAS);
    const __m256i vHalf = _mm256_set1_epi32(NODE_PER_ENTRY_UNIT / 2);
    const __m256i vByte = _mm256_set1_epi32(0xFF);
    const __m256i vFlags = _mm256_set1_epi32(GRID_FLAGS << 16);
    int x = 0;
    for (; x + 8 <= _iCount; x += 8) {
        const int iCell = x / 8;
        __m256i* pOut = reinterpret_cast<__m256i*>(_pOut + x);
        if (!_pInterpolated[iCell]) {
            const __m256i* pTable = reinterpret_cast<const __m256i*>(_pTable + x);
            _mm256_storeu_si256(pOut, _mm256_loadu_si256(pTable));
            _mm256_storeu_si256(pOut + 1, _mm256_loadu_si256(pTable + 1));
            continue;
        }
        const __m256i vX = GridRun(_pNodes[iCell].m_iX, _pNodes[iCell + 1].m_iX, vK, vBias, vHalf);
        const __m256i vY = GridRun(_pNodes[iCell].m_iY, _pNodes[iCell + 1].m_iY, vK, vBias, vHalf);
        // An entry's first word holds the pixel's x and y, its second the fractions and the flags.
        const __m256i vFirst =
            _mm256_or_si256(_mm256_srli_epi32(vX, 8), _mm256_slli_epi32(_mm256_srli_epi32(vY, 8), 16));
        const __m256i vSecond = _mm256_or_si256(
            _mm256_or_si256(_mm256_and_si256(vX, vByte), _mm256_slli_epi32(_mm256_and_si256(vY, vByte), 8)),
            vFlags);
        const __m256i vLow = _mm256_unpacklo_epi32(vFirst, vSecond);  // pixels 0, 1 | 4, 5
        const __m256i vHigh = _mm256_unpackhi_epi32(vFirst, vSecond); // pixels 2, 3 | 6, 7
        _mm256_storeu_si256(pOut, _mm256_permute2x128_si256(vLow, vHigh, 0x20));
        _mm256_storeu_si256(pOut + 1, _mm256_permute2x128_si256(vLow, vHigh, 0x31));
    }
    if (x < _iCount)
        GridRowScalar(_pNodes + x / 8, _pInterpolated + x / 8, _pTable + x, _iCount - x, _pOut + x);
}
#else
bool CpuHasAvx2() {
    return false;
}
#endif

template <int CHANNELS> FN_RemapRow RowKernel(n_RemapKernel _eKernel) {
#if FISHEYE_DEWARP_X86
    if (n_RemapKernel::Avx2 == _eKernel)
        return &RemapRowAvx2<CHANNELS>;
#else
    (void)_eKernel;
#endif
    return &RemapRowScalar<CHANNELS>;
}

} // namespace

void InterpolateEntries(const STRUCT_GridNode& _tA, const STRUCT_GridNode& _tB, int _iCount,
                        STRUCT_RemapEntry* _pOut) {
    for (int k = 0; k < _iCount; ++k) {
        const int iX = EntryUnits(NodeLerp(_tA.m_iX, _tB.m_iX, k));
        const int iY = EntryUnits(NodeLerp(_tA.m_iY, _tB.m_iY, k));
        _pOut[k] = {static_cast<std::uint16_t>(iX >> 8),
                    static_cast<std::uint16_t>(iY >> 8),
                    static_cast<std::uint8_t>(iX & 0xFF),
                    static_cast<std::uint8_t>(iY & 0xFF),
                    GRID_FLAGS,
                    0};
    }
}

FN_GridRow SelectGridRowKernel(n_RemapKernel _eKernel) {
#if FISHEYE_DEWARP_X86
    if ((n_RemapKernel::Avx2 == _eKernel || n_RemapKernel::Best == _eKernel) && CpuHasAvx2())
        return &GridRowAvx2;
#else
    (void)_eKernel;
#endif
    return &GridRowScalar;
}

bool HaveAvx2() {
    return CpuHasAvx2();
}

FN_RemapRow SelectRowKernel(int _iChannels, n_RemapKernel _eKernel, std::size_t _uSourceSize) {
    n_RemapKernel eKernel = _eKernel;
    if (n_RemapKernel::Best == eKernel)
        eKernel = CpuHasAvx2() ? n_RemapKernel::Avx2 : n_RemapKernel::Scalar;
    // The vector kernel computes byte offsets in 32-bit lanes; larger pictures take the scalar one
    // (the same bytes).
    if (_uSourceSize > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        eKernel = n_RemapKernel::Scalar;
    switch (_iChannels) {
    case 1:
        return RowKernel<1>(eKernel);
    case 2:
        return RowKernel<2>(eKernel);
    case 3:
        return RowKernel<3>(eKernel);
    default:
        return RowKernel<4>(eKernel);
    }
}

} // namespace fisheye
