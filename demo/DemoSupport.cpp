#include "DemoSupport.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdint>

bool EngineExt::Resolve() {
    void* hEngine = dlopen("Korvane.dll", RTLD_NOW | RTLD_NOLOAD);
    if (!hEngine)
        return false;
    m_pfCreateSurface = reinterpret_cast<decltype(m_pfCreateSurface)>(dlsym(hEngine, "KW_Ext_CreateSurface"));
    m_pfDestroySurface =
        reinterpret_cast<decltype(m_pfDestroySurface)>(dlsym(hEngine, "KW_Ext_DestroySurface"));
    m_pfReadSurface = reinterpret_cast<decltype(m_pfReadSurface)>(dlsym(hEngine, "KW_Ext_ReadSurface"));
    m_pfGetVideoParam = reinterpret_cast<decltype(m_pfGetVideoParam)>(dlsym(hEngine, "KW_GetVideoParam"));
    // The handle stays open: the library keeps the engine loaded for the process's life anyway.
    return m_pfCreateSurface && m_pfDestroySurface && m_pfReadSurface && m_pfGetVideoParam;
}

long long EngineExt::DecodedPictures(int _iPlayId) const {
    VideoParam tVideo;
    if (!m_pfGetVideoParam || m_pfGetVideoParam(_iPlayId, &tVideo, sizeof(tVideo)) != 0)
        return 0;
    return tVideo.m_llFrames;
}

QVector<qint64> PictureStarts(const QByteArray& _qbaStream) {
    QVector<qint64> vecStarts;
    const auto* p = reinterpret_cast<const std::uint8_t*>(_qbaStream.constData());
    const qint64 llSize = _qbaStream.size();
    if (llSize >= 2 && p[0] == 0xff && p[1] == 0xd8) {
        for (qint64 i = 0; i + 2 < llSize; ++i)
            if (p[i] == 0xff && p[i + 1] == 0xd8 && p[i + 2] == 0xff)
                vecStarts.append(i);
        return vecStarts;
    }
    // Annex B: decide H.264 or H.265 by the first unit (a parameter set or a slice).
    int iCodec = 0;          // 264 or 265
    qint64 llUnitStart = -1; // where the start code of the pending picture's first unit began
    for (qint64 i = 0; i + 4 < llSize; ++i) {
        if (p[i] != 0 || p[i + 1] != 0 || p[i + 2] != 1)
            continue;
        const qint64 llCode = (i > 0 && p[i - 1] == 0) ? i - 1 : i;
        const std::uint8_t ucHeader = p[i + 3];
        if (iCodec == 0) {
            const int iType264 = ucHeader & 0x1f;
            const int iType265 = (ucHeader >> 1) & 0x3f;
            iCodec = (iType264 == 7 || iType264 == 9 || iType264 == 5 || iType264 == 1) &&
                             !(ucHeader & 0x80) && !(iType265 >= 32 && iType265 <= 35)
                         ? 264
                         : 265;
        }
        // Parameter sets and delimiters belong to the picture that follows them.
        bool blPicture = false;
        bool blPrefix = false;
        if (iCodec == 264) {
            const int iType = ucHeader & 0x1f;
            blPicture = (iType == 1 || iType == 5) && (p[i + 4] & 0x80); // first_mb_in_slice == 0
            blPrefix = iType == 6 || iType == 7 || iType == 8 || iType == 9;
        } else if (i + 5 < llSize) {
            const int iType = (ucHeader >> 1) & 0x3f;
            blPicture = iType < 32 && (p[i + 5] & 0x80); // first_slice_segment_in_pic_flag
            blPrefix = iType >= 32 && iType <= 39;
        }
        if (blPrefix && llUnitStart < 0)
            llUnitStart = llCode;
        if (blPicture) {
            vecStarts.append(llUnitStart >= 0 ? llUnitStart : llCode);
            llUnitStart = -1;
        }
        i += 2;
    }
    return vecStarts;
}

QByteArray NoiseBytes(int _iSize, quint32 _uSeed) {
    QByteArray qbaNoise(std::max(0, _iSize), '\0');
    for (char& c : qbaNoise) {
        _uSeed = _uSeed * 1664525u + 1013904223u;
        c = static_cast<char>(_uSeed >> 24);
    }
    return qbaNoise;
}
