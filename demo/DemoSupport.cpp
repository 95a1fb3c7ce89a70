#include "DemoSupport.h"

#include "abi/KorvaneContract.h"

#include <QProcess>

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
    m_pfGetRenderer = reinterpret_cast<decltype(m_pfGetRenderer)>(dlsym(hEngine, "KW_Ext_GetRenderer"));
    // The handle stays open: the library keeps the engine loaded for the process's life anyway.
    return m_pfCreateSurface && m_pfDestroySurface && m_pfReadSurface && m_pfGetVideoParam;
}

const char* EngineExt::RendererName() const {
    return m_pfGetRenderer && m_pfGetRenderer() == KW_RENDERER_GL ? "GL" : "CPU";
}

long long EngineExt::DecodedPictures(int _iPlayId) const {
    VideoParam tVideo;
    if (!m_pfGetVideoParam || m_pfGetVideoParam(_iPlayId, &tVideo, sizeof(tVideo)) != 0)
        return 0;
    return tVideo.m_llFrames;
}

const char* CodecName(int _iCodec) {
    switch (_iCodec) {
    case 1:
        return "H.264";
    case 2:
        return "H.265";
    case 3:
        return "MJPEG";
    default:
        return "unknown";
    }
}

QByteArray NoiseBytes(int _iSize, quint32 _uSeed) {
    QByteArray qbaNoise(std::max(0, _iSize), '\0');
    for (char& c : qbaNoise) {
        _uSeed = _uSeed * 1664525u + 1013904223u;
        c = static_cast<char>(_uSeed >> 24);
    }
    return qbaNoise;
}

ProgramRun RunProgram(const QString& _qstrProgram, const QStringList& _qlistArgs, int _iTimeoutMs) {
    QProcess qProcess;
    qProcess.start(_qstrProgram, _qlistArgs);
    ProgramRun tRun;
    if (!qProcess.waitForFinished(_iTimeoutMs)) {
        qProcess.kill();
        qProcess.waitForFinished(5000);
    } else if (qProcess.exitStatus() == QProcess::NormalExit) {
        tRun.m_iExit = qProcess.exitCode();
    }
    tRun.m_strOut = qProcess.readAllStandardOutput().toStdString();
    tRun.m_strErr = qProcess.readAllStandardError().toStdString();
    return tRun;
}
