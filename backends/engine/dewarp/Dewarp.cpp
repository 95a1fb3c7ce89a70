// Remap tables and the bilinear remap of the open player engine's views; see Dewarp.h.
#include "Dewarp.h"

#include "ThreadPool.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <thread>

#if (defined(__x86_64__) || defined(__i386__)) && (defined(__GNUC__) || defined(__clang__))
#define FISHEYE_DEWARP_X86 1
#include <immintrin.h>
#else
#define FISHEYE_DEWARP_X86 0
#endif

namespace fisheye {

namespace {

// Runs _fn(first, last) over [0, _iRows) split into contiguous bands, _iThreads of them (one per
// core for 0), on the shared pool; the calling thread takes part. Bands of whole rows keep each
// thread's writes apart.
template <typename Fn> void ForRowBands(int _iRows, int _iThreads, Fn _fn) {
    const int iBands = std::clamp(_iThreads > 0 ? _iThreads : DefaultThreadCount(), 1, std::max(_iRows, 1));
    auto bandStart = [&](int _iBand) {
        return static_cast<int>(static_cast<long long>(_iRows) * _iBand / iBands);
    };
    CLS_ThreadPool::Shared().Run(iBands, [&](int _iBand) { _fn(bandStart(_iBand), bandStart(_iBand + 1)); });
}

// One axis of an entry: the source position (in pixels, centres at n + 0.5) as the left or upper
// pixel, the weight of the next one in 1/256 and whether there is a next one.
void Axis(double _dPosition, int _iSize, std::uint16_t* _puPixel, std::uint8_t* _puFrac, bool* _pblStep) {
    const double dPixel = std::clamp(_dPosition - 0.5, 0.0, static_cast<double>(_iSize - 1));
    int iPixel = static_cast<int>(dPixel); // non-negative, so truncation is floor
    int iFrac = static_cast<int>(std::lround((dPixel - iPixel) * 256.0));
    if (iFrac >= 256) {
        ++iPixel;
        iFrac = 0;
    }
    iPixel = std::min(iPixel, _iSize - 1);
    const bool blStep = iPixel < _iSize - 1;
    *_puPixel = static_cast<std::uint16_t>(iPixel);
    *_puFrac = static_cast<std::uint8_t>(blStep ? iFrac : 0);
    *_pblStep = blStep;
}

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

template <int CHANNELS>
void RemapRowScalar(const STRUCT_RemapEntry* _pEntries, int _iCount, const STRUCT_RowSource& _tSource,
                    std::uint8_t* _pOut) {
    for (int x = 0; x < _iCount; ++x)
        RemapPixel<CHANNELS>(_pEntries[x], _tSource, _pOut + x * CHANNELS);
}

#if FISHEYE_DEWARP_X86
#define FISHEYE_AVX2 __attribute__((target("avx2")))

bool HaveAvx2() {
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

// Eight pixels at a time. Each source row of a pixel is one 8-byte read of a gather (the pixel and
// its right neighbour, at most 8 bytes for up to 4 channels; without a right neighbour the bytes
// after the pixel get a zero weight), spread into 16-bit pairs and weighted with pmaddwd:
// RemapPixel's sums exactly. A group whose reads would pass the picture's last byte, and the row's
// last pixels, go through RemapPixel.
template <int CHANNELS>
FISHEYE_AVX2 void RemapRowAvx2(const STRUCT_RemapEntry* _pEntries, int _iCount,
                               const STRUCT_RowSource& _tSource, std::uint8_t* _pOut) {
    static_assert(sizeof(STRUCT_RemapEntry) == 8, "two 32-bit words per entry");
    const long long* pllBase = reinterpret_cast<const long long*>(_tSource.m_pData);
    const __m256i vStride = _mm256_set1_epi32(static_cast<int>(_tSource.m_uStride));
    // The highest offset an 8-byte read may start at (Apply keeps the size within int).
    const __m256i vLast = _mm256_set1_epi32(static_cast<int>(static_cast<long long>(_tSource.m_uSize) - 8));
    // The flags are the third byte of an entry's second word, the fractions its first two bytes.
    const __m256i vInside = _mm256_set1_epi32(CLS_RemapTable::INSIDE << 16);
    const __m256i vStepY = _mm256_set1_epi32(CLS_RemapTable::STEP_Y << 16);
    const __m256i vByte = _mm256_set1_epi32(0xFF);
    const __m256i vLow = _mm256_set1_epi32(0xFFFF);
    const __m256i v256 = _mm256_set1_epi32(256);
    const __m256i vFirst = PairPattern<CHANNELS>(0);
    const __m256i vSecond = PairPattern<CHANNELS>(1);
    int x = 0;
    for (; x + 8 <= _iCount; x += 8) {
        const __m256i vE0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pEntries + x));
        const __m256i vE1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_pEntries + x + 4));
        // The lanes hold pixels 0, 1, 4, 5 | 2, 3, 6, 7: the order the gathers' results come in.
        const __m256i vXY =
            _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(vE0), _mm256_castsi256_ps(vE1), 0x88));
        const __m256i vWord =
            _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(vE0), _mm256_castsi256_ps(vE1), 0xDD));
        const __m256i vIn = _mm256_cmpeq_epi32(_mm256_and_si256(vWord, vInside), vInside);
        // Pixels outside read the picture's first bytes with zero fractions, and are blacked out at the end.
        const __m256i vFlags = _mm256_and_si256(vWord, vIn);
        const __m256i vX = _mm256_and_si256(vXY, vLow);
        const __m256i vY = _mm256_srli_epi32(vXY, 16);
        const __m256i v00 = _mm256_and_si256(
            _mm256_add_epi32(_mm256_mullo_epi32(vY, vStride), TimesChannels<CHANNELS>(vX)), vIn);
        const __m256i v10 = _mm256_add_epi32(
            v00, _mm256_and_si256(_mm256_cmpeq_epi32(_mm256_and_si256(vFlags, vStepY), vStepY), vStride));
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
        // (256 - fx, fx) and (256 - fy, fy) per pixel, in the lanes' order 0, 1, 4, 5 | 2, 3, 6, 7:
        // broadcasting 32-bit lane k of each 128-bit lane gives the weights of pixels 0 | 2 (k = 0),
        // 1 | 3, 4 | 6 and 5 | 7, which is where the pair patterns put those pixels.
        const __m256i vFx = _mm256_and_si256(vFlags, vByte);
        const __m256i vFy = _mm256_and_si256(_mm256_srli_epi32(vFlags, 8), vByte);
        const __m256i vWx = _mm256_or_si256(_mm256_sub_epi32(v256, vFx), _mm256_slli_epi32(vFx, 16));
        const __m256i vWy = _mm256_or_si256(_mm256_sub_epi32(v256, vFy), _mm256_slli_epi32(vFy, 16));
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
#else
bool HaveAvx2() {
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

int DefaultThreadCount() {
    const unsigned uCores = std::thread::hardware_concurrency();
    return uCores > 0 ? static_cast<int>(std::min(uCores, 64u)) : 1;
}

bool STRUCT_ViewParams::operator==(const STRUCT_ViewParams& _other) const {
    return m_eKind == _other.m_eKind && m_eMount == _other.m_eMount &&
           m_tArea.m_dLeft == _other.m_tArea.m_dLeft && m_tArea.m_dRight == _other.m_tArea.m_dRight &&
           m_tArea.m_dTop == _other.m_tArea.m_dTop && m_tArea.m_dBottom == _other.m_tArea.m_dBottom &&
           m_iPtzX == _other.m_iPtzX && m_iPtzY == _other.m_iPtzY && m_iPtzZoom == _other.m_iPtzZoom &&
           m_dRotation == _other.m_dRotation && m_dField == _other.m_dField && m_iWidth == _other.m_iWidth &&
           m_iHeight == _other.m_iHeight;
}

bool CLS_RemapTable::SourcePosition(const CLS_FisheyeGeometry& _geometry, const STRUCT_ViewParams& _tParams,
                                    const STRUCT_ViewFrame& _tPtzView, double _dX, double _dY,
                                    STRUCT_PlanePoint* _ptSource) {
    const double dU = _dX / _tParams.m_iWidth;
    const double dV = _dY / _tParams.m_iHeight;
    STRUCT_Vec3 tDir{0.0, 0.0, 1.0};
    switch (_tParams.m_eKind) {
    case n_ViewKind::Source:
        *_ptSource = {dU, dV};
        return true;
    case n_ViewKind::Fisheye:
        if (std::hypot(dU - 0.5, dV - 0.5) > 0.5)
            return false;
        *_ptSource = PlaneToPicture(_tParams.m_tArea, {dU, dV});
        return true;
    case n_ViewKind::Ptz:
        tDir = _tPtzView.Ray(2.0 * dU - 1.0, 1.0 - 2.0 * dV);
        break;
    case n_ViewKind::Half:
        _geometry.FromSpace(_tParams.m_eMount, n_Space::Half, {dU + _tParams.m_dRotation / 180.0, dV}, &tDir);
        break;
    case n_ViewKind::Panorama:
        _geometry.FromSpace(_tParams.m_eMount, n_Space::Panorama, {dU + _tParams.m_dRotation / 360.0, dV},
                            &tDir);
        break;
    case n_ViewKind::Lat:
    default:
        _geometry.FromSpace(_tParams.m_eMount, n_Space::Lat, {dU, dV}, &tDir);
        break;
    }
    STRUCT_PlanePoint tPlane{};
    if (!_geometry.DirectionToPlane(tDir, &tPlane))
        return false;
    *_ptSource = PlaneToPicture(_tParams.m_tArea, tPlane);
    return true;
}

bool CLS_RemapTable::Update(const STRUCT_ViewParams& _tParams, int _iSourceWidth, int _iSourceHeight) {
    if (IsValid() && _tParams == m_tParams && _iSourceWidth == m_iSourceWidth &&
        _iSourceHeight == m_iSourceHeight)
        return true;
    m_vecEntries.clear();
    m_tParams = _tParams;
    m_iSourceWidth = _iSourceWidth;
    m_iSourceHeight = _iSourceHeight;
    CLS_FisheyeGeometry geometry;
    const bool blSizes = _iSourceWidth > 0 && _iSourceHeight > 0 && _iSourceWidth <= MAX_SOURCE_SIZE &&
                         _iSourceHeight <= MAX_SOURCE_SIZE && _tParams.m_iWidth > 0 &&
                         _tParams.m_iHeight > 0 &&
                         static_cast<long long>(_tParams.m_iWidth) * _tParams.m_iHeight <= MAX_OUTPUT_PIXELS;
    const bool blRotation = std::isfinite(_tParams.m_dRotation);
    if (!blSizes || !blRotation || !IsValidArea(_tParams.m_tArea) ||
        !geometry.SetLens(_tParams.m_dField, 1.0))
        return false;
    const STRUCT_ViewFrame tPtzView = geometry.PtzView(
        _tParams.m_eMount, {_tParams.m_iPtzX / 10000.0, _tParams.m_iPtzY / 10000.0},
        _tParams.m_iPtzZoom / 10000.0, static_cast<double>(_tParams.m_iWidth) / _tParams.m_iHeight);
    m_vecEntries.resize(static_cast<std::size_t>(_tParams.m_iWidth) * _tParams.m_iHeight);
    ++m_iBuilds;
    ForRowBands(_tParams.m_iHeight, 0,
                [&](int _iFirst, int _iLast) { BuildRows(geometry, tPtzView, _iFirst, _iLast); });
    return true;
}

void CLS_RemapTable::BuildRows(const CLS_FisheyeGeometry& _geometry, const STRUCT_ViewFrame& _tPtzView,
                               int _iFirst, int _iLast) {
    for (int y = _iFirst; y < _iLast; ++y) {
        STRUCT_RemapEntry* pEntry = m_vecEntries.data() + static_cast<std::size_t>(y) * m_tParams.m_iWidth;
        for (int x = 0; x < m_tParams.m_iWidth; ++x, ++pEntry) {
            *pEntry = {};
            STRUCT_PlanePoint tSource{};
            if (!SourcePosition(_geometry, m_tParams, _tPtzView, x + 0.5, y + 0.5, &tSource) ||
                !std::isfinite(tSource.m_dX) || !std::isfinite(tSource.m_dY))
                continue;
            bool blStepX = false;
            bool blStepY = false;
            Axis(tSource.m_dX * m_iSourceWidth, m_iSourceWidth, &pEntry->m_uX, &pEntry->m_uFracX, &blStepX);
            Axis(tSource.m_dY * m_iSourceHeight, m_iSourceHeight, &pEntry->m_uY, &pEntry->m_uFracY, &blStepY);
            pEntry->m_uFlags =
                static_cast<std::uint8_t>(INSIDE | (blStepX ? STEP_X : 0) | (blStepY ? STEP_Y : 0));
        }
    }
}

bool CLS_RemapTable::KernelSupported(n_RemapKernel _eKernel) {
    switch (_eKernel) {
    case n_RemapKernel::Best:
    case n_RemapKernel::Scalar:
        return true;
    case n_RemapKernel::Avx2:
        return HaveAvx2();
    }
    return false;
}

bool CLS_RemapTable::Apply(const STRUCT_Image& _src, const STRUCT_Image& _dst, int _iThreads,
                           n_RemapKernel _eKernel) const {
    const int iChannels = _src.m_iChannels;
    if (!IsValid() || !_src.m_pData || !_dst.m_pData || iChannels < 1 || iChannels > 4 ||
        _dst.m_iChannels != iChannels || _src.m_iWidth != m_iSourceWidth ||
        _src.m_iHeight != m_iSourceHeight || _dst.m_iWidth != m_tParams.m_iWidth ||
        _dst.m_iHeight != m_tParams.m_iHeight || _src.m_iStride < _src.m_iWidth * iChannels ||
        _dst.m_iStride < _dst.m_iWidth * iChannels || !KernelSupported(_eKernel))
        return false;
    const std::size_t uStride = static_cast<std::size_t>(_src.m_iStride);
    const STRUCT_RowSource tSource{_src.m_pData, uStride,
                                   (static_cast<std::size_t>(_src.m_iHeight) - 1) * uStride +
                                       static_cast<std::size_t>(_src.m_iWidth) * iChannels};
    n_RemapKernel eKernel = _eKernel;
    if (n_RemapKernel::Best == eKernel)
        eKernel = HaveAvx2() ? n_RemapKernel::Avx2 : n_RemapKernel::Scalar;
    // The vector kernel computes byte offsets in 32-bit lanes; larger pictures take the scalar one
    // (the same bytes).
    if (tSource.m_uSize > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        eKernel = n_RemapKernel::Scalar;
    FN_RemapRow fnRow = nullptr;
    switch (iChannels) {
    case 1:
        fnRow = RowKernel<1>(eKernel);
        break;
    case 2:
        fnRow = RowKernel<2>(eKernel);
        break;
    case 3:
        fnRow = RowKernel<3>(eKernel);
        break;
    default:
        fnRow = RowKernel<4>(eKernel);
        break;
    }
    const int iWidth = _dst.m_iWidth;
    // Column tiles, each row band going through its tiles one after the other: the next row of a
    // tile samples the source next to where the last one did (for a panorama, the neighbouring arc
    // of the image circle), still in the first-level caches, where whole rows of a wide view go
    // round the image circle and evict it. A tile row's entries take 4 KiB.
    constexpr int TILE = 512;
    ForRowBands(_dst.m_iHeight, _iThreads, [&](int _iFirst, int _iLast) {
        for (int x0 = 0; x0 < iWidth; x0 += TILE) {
            const int iCount = std::min(TILE, iWidth - x0);
            for (int y = _iFirst; y < _iLast; ++y)
                fnRow(m_vecEntries.data() + static_cast<std::size_t>(y) * iWidth + x0, iCount, tSource,
                      _dst.m_pData + static_cast<std::size_t>(y) * _dst.m_iStride +
                          static_cast<std::size_t>(x0) * iChannels);
        }
    });
    return true;
}

} // namespace fisheye
