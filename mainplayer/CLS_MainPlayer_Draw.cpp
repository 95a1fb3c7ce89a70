// _ZEBFAULT_
// Overlay drawing of the main player: the draw switch and the draw thread, which hands the PTZ
// views' outlines to the client's callback every 40 ms.
#include "CLS_MainPlayer.h"

#include "common/CLS_ZebLog.h"
#include "subplayers/CLS_SubPlayer.h"

#include <QMutexLocker>
#include <QThread>

int CLS_MainPlayer::EnableDraw(bool _blEnable) {
    m_blDrawEnabled = _blEnable;
    // Switching on starts nothing: only the view set-up starts a draw thread.
    if (_blEnable)
        return 0;
    QMutexLocker qlocker(&m_mutexDrawThread);
    if (m_pDrawThread) {
        m_blDrawThreadStop = true;
        m_pDrawThread->join(); // at most one pass and one sleep
        m_pDrawThread.reset();
    }
    return 0;
}

void CLS_MainPlayer::StartDrawThread() {
    QMutexLocker qlocker(&m_mutexDrawThread);
    if (m_pDrawThread)
        return;
    m_blDrawThreadStop = false;
    m_pDrawThread = std::make_unique<std::thread>(&CLS_MainPlayer::FishEyeDrawCallBack, this);
}

int CLS_MainPlayer::RegisterDrawCallback(PF_FishDrawCallback _pfunCallback) {
    if (nullptr == _pfunCallback) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::RegisterDrawCallback nullptr == pfunCallback ]");
        return -1;
    }
    m_pfDrawCallback = _pfunCallback;
    return 0;
}

void CLS_MainPlayer::FishEyeDrawCallBack(void* _pclsFish) {
    if (nullptr == _pclsFish) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::FishEyeDrawCallBack nullptr == pclsFish ]");
        return;
    }
    CLS_MainPlayer* pclsFish = static_cast<CLS_MainPlayer*>(_pclsFish);
    // Read once: a thread that starts with drawing off ends here and is not revived.
    if (!pclsFish->m_blDrawEnabled) {
        CLS_ZebLog::Warning("[  CLS_MainPlayer::FishEyeDrawCallBack !pclsFish->m_blDrawEnabled ]");
        return;
    }
    while (!pclsFish->m_blDrawThreadStop) {
        pclsFish->DrawCalculate();
        QThread::msleep(40);
    }
}

int CLS_MainPlayer::DrawCalculate() {
    QMutexLocker qlocker(&m_mutexDraw);
    const PF_FishDrawCallback pfCallback = m_pfDrawCallback;
    if (nullptr == pfCallback) {
        qlocker.unlock();
        CLS_ZebLog::Warning("[  CLS_MainPlayer::DrawCalculate nullptr == m_pfDrawCallback ]");
        return -1;
    }
    const auto itPTZ = m_qmapSubPlayers.constFind(CORRECT_TYPE_PTZ);
    if (itPTZ == m_qmapSubPlayers.constEnd()) {
        qlocker.unlock();
        CLS_ZebLog::Warning(
            "[  CLS_MainPlayer::DrawCalculate !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]");
        return -1;
    }
    // Views that fail are left out, so an entry's position is its view's index only while every
    // view delivers.
    QVector<QVector<QVector<STRUCT_DrawPoint>>> qvecResult;
    const QVector<CLS_SubPlayer*> qvecPTZ = itPTZ.value();
    for (CLS_SubPlayer* pPlayer : qvecPTZ) {
        if (nullptr == pPlayer) {
            CLS_ZebLog::Warning("[  CLS_MainPlayer::DrawCalculate nullptr == pPlayer ]");
            continue;
        }
        QVector<QVector<STRUCT_DrawPoint>> qvecData;
        const int iRet = pPlayer->GetPTZDrawData(qvecData);
        if (iRet < 0) {
            CLS_ZebLog::Info("[  CLS_MainPlayer::DrawCalculate pPlayer->GetPTZDrawData < 0 iRet = ", iRet,
                             " ]");
            continue;
        }
        qvecResult.append(qvecData);
    }
    pfCallback(0, 0, qvecResult); // its result means nothing to the library
    return 0;
}
