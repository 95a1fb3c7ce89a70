#include "TestSupport.h"

#include <QString>
#include <QtGlobal>

#include <gtest/gtest.h>

#include <mutex>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

std::mutex g_mutexLog;
std::vector<std::string> g_vecLines;

void CaptureMessage(QtMsgType _type, const QMessageLogContext&, const QString& _qstrMessage) {
    const char* pcLevel = "debug";
    switch (_type) {
    case QtDebugMsg:
        pcLevel = "debug";
        break;
    case QtInfoMsg:
        pcLevel = "info";
        break;
    case QtWarningMsg:
        pcLevel = "warning";
        break;
    case QtCriticalMsg:
        pcLevel = "critical";
        break;
    case QtFatalMsg:
        pcLevel = "fatal";
        break;
    }
    std::lock_guard<std::mutex> lock(g_mutexLog);
    g_vecLines.push_back(std::string(pcLevel) + ": " + _qstrMessage.toStdString());
}

// Installed before any test runs, so that every line of the library is captured.
const QtMessageHandler g_previousHandler = qInstallMessageHandler(CaptureMessage);

} // namespace

void* LoadedSymbol(const char* _pcLibrary, const char* _pcName) {
#if defined(_WIN32)
    HMODULE hModule = GetModuleHandleA(_pcLibrary);
    return hModule ? reinterpret_cast<void*>(GetProcAddress(hModule, _pcName)) : nullptr;
#else
    void* hModule = dlopen(_pcLibrary, RTLD_NOW | RTLD_NOLOAD);
    if (!hModule)
        return nullptr;
    void* pSymbol = dlsym(hModule, _pcName);
    dlclose(hModule); // drops only the reference taken here
    return pSymbol;
#endif
}

std::vector<std::string> TestLog::Lines() {
    std::lock_guard<std::mutex> lock(g_mutexLog);
    return g_vecLines;
}

void TestLog::Clear() {
    std::lock_guard<std::mutex> lock(g_mutexLog);
    g_vecLines.clear();
}

FakeEngineControl* FakeEngine() {
    auto pf = reinterpret_cast<FakeEngineControl* (*)()>(LoadedSymbol("Korvane.dll", "FakeEngine_Control"));
    return pf ? pf() : nullptr;
}

FakeAlgoControl* FakeAlgo() {
    auto pf = reinterpret_cast<FakeAlgoControl* (*)()>(LoadedSymbol("zeb_algo_fcu.dll", "FakeAlgo_Control"));
    return pf ? pf() : nullptr;
}
