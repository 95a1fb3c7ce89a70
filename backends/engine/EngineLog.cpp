// The engine's log line; see EngineLog.h.
#include "EngineLog.h"

#include <cstdio>
#include <mutex>
#include <set>

namespace korvane {

void LogOnce(const std::string& _strMessage) {
    // Never destroyed: players may log from their threads during the process's exit.
    static std::mutex* s_pMutex = new std::mutex;
    static std::set<std::string>* s_pSeen = new std::set<std::string>;
    std::lock_guard<std::mutex> lock(*s_pMutex);
    if (!s_pSeen->insert(_strMessage).second)
        return;
    const std::string strLine = "Korvane: " + _strMessage + "\n";
    std::fwrite(strLine.data(), 1, strLine.size(), stderr);
    std::fflush(stderr);
}

} // namespace korvane
