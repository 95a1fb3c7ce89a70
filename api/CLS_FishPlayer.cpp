// _ZEBFAULT_
#include "CLS_FishPlayer.h"

#include "bindings/CLS_ZebPlayer_SDK.h"
#include "common/CLS_ZebLog.h"
#include "mainplayer/CLS_MainPlayer.h"

#include <QReadLocker>
#include <QWriteLocker>

osd_TLDCSet CLS_FishPlayer::m_TLDSet{};
QReadWriteLock CLS_FishPlayer::m_qrwlockDateMux;
QReadWriteLock CLS_FishPlayer::m_qrwlockTLDInitMux;

CLS_FishPlayer* CLS_FishPlayer::GetInstance() {
    static CLS_FishPlayer s_clsInstance; // thread-safe construction: a concurrent first caller waits
    return &s_clsInstance;
}

CLS_FishPlayer::CLS_FishPlayer() {
    FishPlayer_CreateSystem();
}

CLS_FishPlayer::~CLS_FishPlayer() = default;

CLS_FishPlayer::CLS_FishPlayer(const CLS_FishPlayer& _other) : m_qmapMainPlayer(_other.m_qmapMainPlayer) {
    QReadLocker qlocker(&m_qrwlockTLDInitMux); // one lock for every instance's play index
    m_iPlayIndex = _other.m_iPlayIndex;
}

CLS_FishPlayer& CLS_FishPlayer::operator=(const CLS_FishPlayer& _other) {
    if (this != &_other) {
        m_qmapMainPlayer = _other.m_qmapMainPlayer;
        QWriteLocker qlocker(&m_qrwlockTLDInitMux);
        m_iPlayIndex = _other.m_iPlayIndex;
    }
    return *this;
}

int CLS_FishPlayer::FishPlayer_CreateSystem() {
    const char* pcFileName = "Korvane.dll";
    if (!CLS_ZebPlayer_SDK::LoadLib(pcFileName)) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::FishPlayer_CreateSystem CLS_ZebPlayer_SDK::LoadLib fail ]");
        return -1;
    }
    if (nullptr == CLS_ZebPlayer_SDK::KW_CreateSystem) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::FishPlayer_CreateSystem nullptr == CLS_ZebPlayer_SDK::KW_CreateSystem ]");
        return -1;
    }
    return CLS_ZebPlayer_SDK::KW_CreateSystem(0);
}

int CLS_FishPlayer::FishPlayer_DeleteSystem() {
    return 0; // the engine is never unloaded
}

int CLS_FishPlayer::GetPlayIndex() {
    QReadLocker qlocker(&m_qrwlockTLDInitMux);
    return m_iPlayIndex;
}

void CLS_FishPlayer::SetPlayIndex(int _iPlayIndex) {
    QWriteLocker qlocker(&m_qrwlockTLDInitMux);
    m_iPlayIndex = _iPlayIndex;
}

int CLS_FishPlayer::FishPlayer_StopRevChUserDate(int _iPlayIndex) {
    if (nullptr == CLS_ZebPlayer_SDK::KW_PlayerControl)
        return -1; // an engine without the function cannot deliver user data either
    STRUCT_UserDataCallBackParam tRecord{};
    tRecord.m_iSize = sizeof(STRUCT_UserDataCallBackParam);
    return CLS_ZebPlayer_SDK::KW_PlayerControl(_iPlayIndex, KW_CONTROL_USER_DATA, &tRecord,
                                               sizeof(STRUCT_UserDataCallBackParam), 0);
}

bool CLS_FishPlayer::GetIsInitUserData(int _iFishPlayerID) {
    // operator[] on purpose: an unknown id is remembered as an empty entry.
    CLS_MainPlayer* pMainPlayer = m_qmapMainPlayer[_iFishPlayerID];
    if (nullptr == pMainPlayer) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::FishPlayer_PTZCtl nullptr == "
                            "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ",
                            _iFishPlayerID, " ]");
        return false;
    }
    return pMainPlayer->IsInitUserData();
}

CLS_MainPlayer* CLS_FishPlayer::FindMainPlayer(int _iFishPlayerID, const char* _pcNotContained,
                                               const char* _pcNull) {
    if (!m_qmapMainPlayer.contains(_iFishPlayerID)) {
        CLS_ZebLog::Warning(_pcNotContained, _iFishPlayerID, " ]");
        return nullptr;
    }
    CLS_MainPlayer* pMainPlayer = m_qmapMainPlayer.value(_iFishPlayerID);
    if (nullptr == pMainPlayer)
        CLS_ZebLog::Warning(_pcNull, _iFishPlayerID, " ]");
    return pMainPlayer;
}

int CLS_FishPlayer::FishPlayer_CreatePlayerFromFile(const STRUCT_FishEyeParam& _tParam,
                                                    const void* _pMainWindow,
                                                    const QMap<int, QVector<void*>>& _qmapWindows,
                                                    const QString& _qstrFile, int* _pFishMainPlyerID,
                                                    QMap<int, QVector<int>>& _qmapIds,
                                                    const STRUCT_FishDrawParam& _tDrawParam) {
    if (nullptr == _pFishMainPlyerID)
        return -1;
    if (nullptr == _pMainWindow) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  nullptr == _pMainWindow ]");
        return -1;
    }
    int iRet = CreateMainPlayer(_tParam, _pMainWindow, _qstrFile, _pFishMainPlyerID);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  CreateMainPlayer fail iRet = ", iRet, " ]");
        return iRet;
    }
    iRet =
        CreateSubPlayer(_tParam, *_pFishMainPlyerID, _qmapWindows, _qmapIds, _tDrawParam, _tParam.m_iExtra);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  CreateSubPlayer fail iRet = ", iRet, " ]");
        return iRet;
    }
    return 0;
}

int CLS_FishPlayer::FishPlayer_CreatePlayerFromStream(
    const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
    const QMap<int, QVector<void*>>& _qmapWindows, int _iStreamType, unsigned char* _pcVideoHeader,
    int _iHeadSize, int* _pFishMainPlyerID, QMap<int, QVector<int>>& _qmapIds, bool _blIsInitUserData,
    osd_TLDCSet _tTLDSet, const STRUCT_FishDrawParam& _tDrawParam) {
    if (nullptr == _pFishMainPlyerID)
        return -1;
    if (nullptr == _pMainWindow) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pMainWindow ]");
        return -1;
    }
    if (nullptr == _pcVideoHeader) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pcVideoHeader ]");
        return -1;
    }
    if (_iHeadSize <= 0) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  _iHeadSize <= 0 ]");
        return -1;
    }
    const osd_TLDCSet tTLDSet = _tTLDSet;
    int iRet = CreateMainPlayer(_tParam, _pMainWindow, _iStreamType, _pcVideoHeader, _iHeadSize,
                                _pFishMainPlyerID, _blIsInitUserData, tTLDSet);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateMainPlayer fail iRet = ", iRet,
            " ]");
        return iRet;
    }
    iRet =
        CreateSubPlayer(_tParam, *_pFishMainPlyerID, _qmapWindows, _qmapIds, _tDrawParam, _tParam.m_iExtra);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateSubPlayer fail iRet = ", iRet, " ]");
        return iRet;
    }
    return 0;
}

int CLS_FishPlayer::FishPlayer_CreateSubPlayer(const STRUCT_FishEyeParam& _tParam, int _iFishPlayerID,
                                               const QMap<int, QVector<void*>>& _qmapWindows,
                                               QMap<int, QVector<int>>& _qmapIds, int _iExtra,
                                               const STRUCT_FishDrawParam& _tDrawParam) {
    const int iRet = CreateSubPlayer(_tParam, _iFishPlayerID, _qmapWindows, _qmapIds, _tDrawParam, _iExtra);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::FishPlayer_CreateSubPlayer  CreateSubPlayer fail iRet = ", iRet, " ]");
        return iRet;
    }
    return 0;
}

int CLS_FishPlayer::CreateMainPlayer(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
                                     const QString& _qstrFile, int* _pFishMainPlyerID) {
    if (nullptr == _pMainWindow) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]");
        return -1;
    }
    if (nullptr == _pFishMainPlyerID) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]");
        return -1;
    }
    CLS_MainPlayer* pMainPlayer = new CLS_MainPlayer();
    const int iRet = pMainPlayer->CreateMainPlayer(_tParam, _pMainWindow, _qstrFile, _pFishMainPlyerID);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet = ", iRet, " ]");
        CLS_MainPlayer::DiscardFailedCreation(pMainPlayer);
        return iRet;
    }
    m_qmapMainPlayer[*_pFishMainPlyerID] = pMainPlayer;
    return 0;
}

int CLS_FishPlayer::CreateMainPlayer(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
                                     int _iStreamType, unsigned char* _pcVideoHeader, int _iHeadSize,
                                     int* _pFishMainPlyerID, bool _blIsInitUserData, osd_TLDCSet _tTLDSet) {
    if (nullptr == _pMainWindow) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]");
        return -1;
    }
    if (nullptr == _pcVideoHeader) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]");
        return -1;
    }
    if (_iHeadSize <= 0) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::CreateMainPlayer _iHeadSize <= 0 ]");
        return -1;
    }
    if (nullptr == _pFishMainPlyerID) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]");
        return -1;
    }
    CLS_MainPlayer* pMainPlayer = new CLS_MainPlayer();
    int iRet = 0;
    {
        QReadLocker qlocker(&m_qrwlockDateMux);
        const osd_TLDCSet tTLDSet = _tTLDSet;
        iRet = pMainPlayer->CreateMainPlayer(_tParam, _pMainWindow, _iStreamType, _pcVideoHeader, _iHeadSize,
                                             _pFishMainPlyerID, GetPlayIndex(), _blIsInitUserData, tTLDSet);
    }
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet = ", iRet, " ]");
        CLS_MainPlayer::DiscardFailedCreation(pMainPlayer);
        return iRet;
    }
    m_qmapMainPlayer[*_pFishMainPlyerID] = pMainPlayer;
    return 0;
}

int CLS_FishPlayer::CreateSubPlayer(const STRUCT_FishEyeParam& _tParam, int _iFishPlayerID,
                                    const QMap<int, QVector<void*>>& _qmapWindows,
                                    QMap<int, QVector<int>>& _qmapIds,
                                    const STRUCT_FishDrawParam& _tDrawParam, int _iExtra) {
    CLS_MainPlayer* pMainPlayer = FindMainPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::CreateSubPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::CreateSubPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->CreateSubPlayers(_tParam, _iFishPlayerID, _qmapWindows, _qmapIds, _tDrawParam,
                                         _iExtra);
}

int CLS_FishPlayer::FishPlayer_CorrectWindowCtl(int _iFishPlayerID, int _iCorrectType,
                                                STRUCT_CtlParam _tParam, n_CtlCmd _eCmd,
                                                STRUCT_FishWindowRect _rect) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID,
                       "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl "
                       "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
                       "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl nullptr == "
                       "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->CorrectWindowCtl(_iCorrectType, _tParam, _eCmd, _rect);
}

int CLS_FishPlayer::FishPlayer_DrawWindowCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlPointParam _tPoint,
                                             n_CtlCmd _eCmd, STRUCT_FishWindowRect _rect) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID,
                       "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl "
                       "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
                       "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl nullptr == "
                       "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->DrawWindowCtl(_iPtzIndex, _tPoint, _eCmd, _rect);
}

int CLS_FishPlayer::FishPlayer_PTZWindowCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlParam _tParam,
                                            n_CtlCmd _eCmd, STRUCT_FishWindowRect _rect) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID,
                       "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl "
                       "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
                       "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl nullptr == "
                       "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->PTZWindowCtl(_iPtzIndex, _tParam, _eCmd, _rect);
}

int CLS_FishPlayer::FishPlayer_PTZCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlParam _tParam,
                                      n_PTZCtlCmd _ePTZCmd) {
    CLS_MainPlayer* pMainPlayer = FindMainPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_PTZCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_PTZCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->PTZCtl(_iPtzIndex, _tParam, _ePTZCmd);
}

int CLS_FishPlayer::FishPlayer_EnableDraw(int _iFishPlayerID, bool _blEnable) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID,
                       "[  CLS_FishPlayer::FishPlayer_EnableDraw !m_qmapMainPlayer.contains(_iFishPlayerID) "
                       "_iFishPlayerID = ",
                       "[  CLS_FishPlayer::FishPlayer_EnableDraw  nullptr == "
                       "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->EnableDraw(_blEnable);
}

int CLS_FishPlayer::FishPlayer_EnableFish(int _iFishPlayerID, bool _blEnable) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID,
                       "[  CLS_FishPlayer::FishPlayer_EnableFish !m_qmapMainPlayer.contains(_iFishPlayerID) "
                       "_iFishPlayerID = ",
                       "[  CLS_FishPlayer::FishPlayer_EnableFish  nullptr == "
                       "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->EnableFishEye(_blEnable);
}

int CLS_FishPlayer::FishPlayer_PutStreamToPlayer(int _iFishPlayerID, int _iDataType,
                                                 unsigned char* _pcStreamData, int _iSize) {
    if (!m_qmapMainPlayer.contains(_iFishPlayerID)) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer "
                            "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
                            _iFishPlayerID, " ]");
        return -1;
    }
    if (nullptr == _pcStreamData) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer nullptr == _pcStreamData");
        return -1;
    }
    if (_iSize < 0) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer _iSize < 0");
        return -1;
    }
    CLS_MainPlayer* pMainPlayer = m_qmapMainPlayer.value(_iFishPlayerID);
    if (nullptr == pMainPlayer) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer  nullptr == "
                            "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ",
                            _iFishPlayerID, " ]");
        return -1;
    }
    return pMainPlayer->PutStreamToPlayer(_iDataType, _pcStreamData, _iSize);
}

int CLS_FishPlayer::FishPlayer_RegisterDrawCallback(int _iFishPlayerID, PF_FishDrawCallback _pfCallback) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID,
                       "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback "
                       "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
                       "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback  nullptr == "
                       "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->RegisterDrawCallback(_pfCallback);
}

int CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer(int _iFishPlayerID) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID,
                       "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer  "
                       "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
                       "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer  nullptr == "
                       "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->DeleteAllSubPlayer();
}

int CLS_FishPlayer::FishPlayer_DeleteAllPlayer(int _iFishPlayerID) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID,
                       "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  "
                       "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
                       "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  nullptr == "
                       "m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    delete pMainPlayer;
    m_qmapMainPlayer.remove(_iFishPlayerID);
    return 0;
}

int CLS_FishPlayer::FishPlayer_StartTrack(int) {
    return -1;
}

int CLS_FishPlayer::FishPlayer_StopTrack(int) {
    return -1;
}
