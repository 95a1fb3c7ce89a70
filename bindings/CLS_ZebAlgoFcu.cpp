// _ZEBFAULT_
#include "CLS_ZebAlgoFcu.h"

#include "common/CLS_ZebLog.h"

#include <QLibrary>
#include <QMutex>
#include <QMutexLocker>
#include <QString>

int CLS_ZebAlgoFcu::LoadLib() {
    // Main players may be constructed on several client threads; the first load must not race.
    static QMutex s_mutexLoad;
    QMutexLocker qlocker(&s_mutexLoad);
    if (m_blLoaded)
        return 0;
    const QString qstrFileName = QStringLiteral("zeb_algo_fcu.dll");
    QLibrary qlibrary(qstrFileName); // the library stays loaded when this object goes away
    const bool blLoaded = qlibrary.load();
    if (!blLoaded) {
        CLS_ZebLog::Warning("[ CLS_ZebAlgoFcu::LoadLib ", qstrFileName, " load fail ]");
        return -1;
    }
    int iRet = 0;
#define ZEB_FCU_FN(name, result, args)                                                                       \
    name = reinterpret_cast<PF_##name>(qlibrary.resolve(#name));                                             \
    if (!name) {                                                                                             \
        CLS_ZebLog::Warning("[ CLS_ZebAlgoFcu::LoadLib nullptr == ", #name, " ]");                           \
        iRet = -1;                                                                                           \
    }
#include "abi/ZebAlgoExports.inc"
#undef ZEB_FCU_FN
    // Published last, so that a thread that sees the flag also sees the pointers.
    m_blLoaded = true;
    return iRet;
}
