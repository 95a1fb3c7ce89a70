// What the demo and the viewer share: the open engine's surface extension, found in the engine
// that the library loaded; and noise bytes for their tests of bad input.
#ifndef FISHPLAYER_DEMO_SUPPORT_H
#define FISHPLAYER_DEMO_SUPPORT_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string>

// The engine's surface extension and player information, found in the engine that the library
// loaded (the demo never loads an engine of its own).
struct EngineExt {
    void* (*m_pfCreateSurface)(int, int) = nullptr;
    int (*m_pfDestroySurface)(void*) = nullptr;
    int (*m_pfReadSurface)(void*, unsigned char*, int) = nullptr;
    int (*m_pfGetVideoParam)(int, void*, int) = nullptr;
    int (*m_pfGetRenderer)() = nullptr; // not required: an engine without it draws on the CPU

    // True once every required function was found in the loaded "Korvane.dll".
    bool Resolve();
    // Who draws the engine's views now: "GL" or "CPU".
    const char* RendererName() const;
    // Pictures the engine player has decoded so far (0 when it cannot tell).
    long long DecodedPictures(int _iPlayId) const;
};

struct VideoParam {
    int m_iSize = 24;
    int m_iWidth = 0;
    int m_iHeight = 0;
    int m_iCodec = 0; // 0 not yet known, then 1 H.264, 2 H.265, 3 MJPEG
    long long m_llFrames = 0;
};

// The name of VideoParam's m_iCodec: "H.264", "H.265", "MJPEG" or "unknown".
const char* CodecName(int _iCodec);

// _iSize pseudo-random bytes (a linear congruential sequence from _uSeed): input that is no
// video format, for the tests of bad input.
QByteArray NoiseBytes(int _iSize, quint32 _uSeed);

// A program run to its end by a test: its exit status (-1 when it crashed or did not end within
// _iTimeoutMs, then killed) and what it wrote.
struct ProgramRun {
    int m_iExit = -1;
    std::string m_strOut;
    std::string m_strErr;
};
ProgramRun RunProgram(const QString& _qstrProgram, const QStringList& _qlistArgs, int _iTimeoutMs);

#endif // FISHPLAYER_DEMO_SUPPORT_H
