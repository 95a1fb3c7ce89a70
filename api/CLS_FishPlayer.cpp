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
    const bool blLoaded = CLS_ZebPlayer_SDK::LoadLib(pcFileName);
    if (CLS_ZebLog::Refuse(
            {{!blLoaded, "[  CLS_FishPlayer::FishPlayer_CreateSystem CLS_ZebPlayer_SDK::LoadLib fail ]"},
             {nullptr == CLS_ZebPlayer_SDK::KW_CreateSystem,
              "[  CLS_FishPlayer::FishPlayer_CreateSystem nullptr == CLS_ZebPlayer_SDK::KW_CreateSystem "
              "]"}}) < 0)
        return -1;
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

bool CLS_FishPlayer::IsRegistered(int _iFishPlayerID, const char* _pcMethod) {
    if (m_qmapMainPlayer.contains(_iFishPlayerID))
        return true;
    CLS_ZebLog::WarningOf(
        "CLS_FishPlayer",
        (QByteArray(_pcMethod) + "!m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ").constData(),
        _iFishPlayerID, " ]");
    return false;
}

CLS_MainPlayer* CLS_FishPlayer::FindMainPlayer(int _iFishPlayerID, const char* _pcMethodContains,
                                               const char* _pcMethodNull) {
    if (!IsRegistered(_iFishPlayerID, _pcMethodContains))
        return nullptr;
    CLS_MainPlayer* pMainPlayer = m_qmapMainPlayer.value(_iFishPlayerID);
    if (nullptr == pMainPlayer)
        CLS_ZebLog::WarningOf(
            "CLS_FishPlayer",
            (QByteArray(_pcMethodNull) + "nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ")
                .constData(),
            _iFishPlayerID, " ]");
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
    if (CLS_ZebLog::Refuse(
            {{nullptr == _pMainWindow,
              "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  nullptr == _pMainWindow ]"}}) < 0)
        return -1;
    const int iRet = CreateMainPlayer(_tParam, _pMainWindow, _qstrFile, _pFishMainPlyerID);
    return CreateViews(
        iRet, "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  CreateMainPlayer fail iRet = ",
        "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  CreateSubPlayer fail iRet = ", _tParam,
        *_pFishMainPlyerID, _qmapWindows, _qmapIds, _tDrawParam);
}

int CLS_FishPlayer::FishPlayer_CreatePlayerFromStream(
    const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
    const QMap<int, QVector<void*>>& _qmapWindows, int _iStreamType, unsigned char* _pcVideoHeader,
    int _iHeadSize, int* _pFishMainPlyerID, QMap<int, QVector<int>>& _qmapIds, bool _blIsInitUserData,
    osd_TLDCSet _tTLDSet, const STRUCT_FishDrawParam& _tDrawParam) {
    if (nullptr == _pFishMainPlyerID)
        return -1;
    static const CLS_MainPlayer::STRUCT_StreamArgumentLines s_tLines = {
        "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pMainWindow ]",
        "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pcVideoHeader ]",
        "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  _iHeadSize <= 0 ]",
        nullptr, // checked above, without a line
    };
    if (CLS_MainPlayer::CheckStreamArguments(s_tLines, _pMainWindow, _pcVideoHeader, _iHeadSize,
                                             _pFishMainPlyerID) < 0)
        return -1;
    const osd_TLDCSet tTLDSet = _tTLDSet;
    // The id is read only once the main player has written it.
    const int iRet = CreateMainPlayer(_tParam, _pMainWindow, _iStreamType, _pcVideoHeader, _iHeadSize,
                                      _pFishMainPlyerID, _blIsInitUserData, tTLDSet);
    return CreateViews(
        iRet, "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateMainPlayer fail iRet = ",
        "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateSubPlayer fail iRet = ", _tParam,
        *_pFishMainPlyerID, _qmapWindows, _qmapIds, _tDrawParam);
}

int CLS_FishPlayer::CreateViews(int _iMainPlayerRet, const char* _pcMainPlayerFail,
                                const char* _pcSubPlayerFail, const STRUCT_FishEyeParam& _tParam,
                                int _iFishPlayerID, const QMap<int, QVector<void*>>& _qmapWindows,
                                QMap<int, QVector<int>>& _qmapIds, const STRUCT_FishDrawParam& _tDrawParam) {
    if (_iMainPlayerRet < 0) {
        CLS_ZebLog::Warning(_pcMainPlayerFail, _iMainPlayerRet, " ]");
        return _iMainPlayerRet;
    }
    // Taken from the registry, where the creation has just put it: no lookup lines to write.
    const int iRet = m_qmapMainPlayer.value(_iFishPlayerID)
                         ->CreateSubPlayers(_tParam, _iFishPlayerID, _qmapWindows, _qmapIds, _tDrawParam,
                                            _tParam.m_iExtra);
    if (iRet < 0) {
        CLS_ZebLog::Warning(_pcSubPlayerFail, iRet, " ]");
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
    if (CLS_ZebLog::Refuse(
            {{nullptr == _pMainWindow, "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]"},
             {nullptr == _pFishMainPlyerID,
              "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]"}}) < 0)
        return -1;
    CLS_MainPlayer* pMainPlayer = new CLS_MainPlayer();
    return Register(pMainPlayer,
                    pMainPlayer->CreateMainPlayer(_tParam, _pMainWindow, _qstrFile, _pFishMainPlyerID),
                    _pFishMainPlyerID);
}

int CLS_FishPlayer::CreateMainPlayer(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
                                     int _iStreamType, unsigned char* _pcVideoHeader, int _iHeadSize,
                                     int* _pFishMainPlyerID, bool _blIsInitUserData, osd_TLDCSet _tTLDSet) {
    static const CLS_MainPlayer::STRUCT_StreamArgumentLines s_tLines = {
        "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]",
        "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]",
        "[  CLS_FishPlayer::CreateMainPlayer _iHeadSize <= 0 ]",
        "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]",
    };
    if (CLS_MainPlayer::CheckStreamArguments(s_tLines, _pMainWindow, _pcVideoHeader, _iHeadSize,
                                             _pFishMainPlyerID) < 0)
        return -1;
    CLS_MainPlayer* pMainPlayer = new CLS_MainPlayer();
    int iRet = 0;
    {
        QReadLocker qlocker(&m_qrwlockDateMux);
        const osd_TLDCSet tTLDSet = _tTLDSet;
        iRet = pMainPlayer->CreateMainPlayer(_tParam, _pMainWindow, _iStreamType, _pcVideoHeader, _iHeadSize,
                                             _pFishMainPlyerID, GetPlayIndex(), _blIsInitUserData, tTLDSet);
    }
    return Register(pMainPlayer, iRet, _pFishMainPlyerID);
}

int CLS_FishPlayer::Register(CLS_MainPlayer* _pMainPlayer, int _iCreateRet, const int* _pFishMainPlyerID) {
    if (_iCreateRet < 0) {
        CLS_ZebLog::Warning("[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet = ",
                            _iCreateRet, " ]");
        CLS_MainPlayer::DiscardFailedCreation(_pMainPlayer);
        return _iCreateRet;
    }
    m_qmapMainPlayer[*_pFishMainPlyerID] = _pMainPlayer;
    return 0;
}

int CLS_FishPlayer::CreateSubPlayer(const STRUCT_FishEyeParam& _tParam, int _iFishPlayerID,
                                    const QMap<int, QVector<void*>>& _qmapWindows,
                                    QMap<int, QVector<int>>& _qmapIds,
                                    const STRUCT_FishDrawParam& _tDrawParam, int _iExtra) {
    CLS_MainPlayer* pMainPlayer = FindMainPlayer(_iFishPlayerID, "CreateSubPlayer ", "CreateSubPlayer  ");
    return pMainPlayer ? pMainPlayer->CreateSubPlayers(_tParam, _iFishPlayerID, _qmapWindows, _qmapIds,
                                                       _tDrawParam, _iExtra)
                       : -1;
}

int CLS_FishPlayer::FishPlayer_CorrectWindowCtl(int _iFishPlayerID, int _iCorrectType,
                                                STRUCT_CtlParam _tParam, n_CtlCmd _eCmd,
                                                STRUCT_FishWindowRect _rect) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID, "FishPlayer_CorrectWindowCtl ", "FishPlayer_CorrectWindowCtl ");
    return pMainPlayer ? pMainPlayer->CorrectWindowCtl(_iCorrectType, _tParam, _eCmd, _rect) : -1;
}

int CLS_FishPlayer::FishPlayer_DrawWindowCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlPointParam _tPoint,
                                             n_CtlCmd _eCmd, STRUCT_FishWindowRect _rect) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID, "FishPlayer_DrawWindowCtl ", "FishPlayer_DrawWindowCtl ");
    return pMainPlayer ? pMainPlayer->DrawWindowCtl(_iPtzIndex, _tPoint, _eCmd, _rect) : -1;
}

int CLS_FishPlayer::FishPlayer_PTZWindowCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlParam _tParam,
                                            n_CtlCmd _eCmd, STRUCT_FishWindowRect _rect) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID, "FishPlayer_PTZWindowCtl ", "FishPlayer_PTZWindowCtl ");
    return pMainPlayer ? pMainPlayer->PTZWindowCtl(_iPtzIndex, _tParam, _eCmd, _rect) : -1;
}

int CLS_FishPlayer::FishPlayer_PTZCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlParam _tParam,
                                      n_PTZCtlCmd _ePTZCmd) {
    CLS_MainPlayer* pMainPlayer = FindMainPlayer(_iFishPlayerID, "FishPlayer_PTZCtl ", "FishPlayer_PTZCtl ");
    return pMainPlayer ? pMainPlayer->PTZCtl(_iPtzIndex, _tParam, _ePTZCmd) : -1;
}

int CLS_FishPlayer::FishPlayer_EnableDraw(int _iFishPlayerID, bool _blEnable) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID, "FishPlayer_EnableDraw ", "FishPlayer_EnableDraw  ");
    return pMainPlayer ? pMainPlayer->EnableDraw(_blEnable) : -1;
}

int CLS_FishPlayer::FishPlayer_EnableFish(int _iFishPlayerID, bool _blEnable) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID, "FishPlayer_EnableFish ", "FishPlayer_EnableFish  ");
    return pMainPlayer ? pMainPlayer->EnableFishEye(_blEnable) : -1;
}

int CLS_FishPlayer::FishPlayer_PutStreamToPlayer(int _iFishPlayerID, int _iDataType,
                                                 unsigned char* _pcStreamData, int _iSize) {
    // The data is looked at between the two lookup steps.
    if (!IsRegistered(_iFishPlayerID, "FishPlayer_PutStreamToPlayer ") ||
        CLS_ZebLog::Refuse({{nullptr == _pcStreamData,
                             "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer nullptr == _pcStreamData"},
                            {_iSize < 0, "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer _iSize < 0"}}) < 0)
        return -1;
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID, "FishPlayer_PutStreamToPlayer ", "FishPlayer_PutStreamToPlayer  ");
    return pMainPlayer ? pMainPlayer->PutStreamToPlayer(_iDataType, _pcStreamData, _iSize) : -1;
}

int CLS_FishPlayer::FishPlayer_RegisterDrawCallback(int _iFishPlayerID, PF_FishDrawCallback _pfCallback) {
    CLS_MainPlayer* pMainPlayer = FindMainPlayer(_iFishPlayerID, "FishPlayer_RegisterDrawCallback ",
                                                 "FishPlayer_RegisterDrawCallback  ");
    return pMainPlayer ? pMainPlayer->RegisterDrawCallback(_pfCallback) : -1;
}

int CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer(int _iFishPlayerID) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID, "FishPlayer_DeleteAllSubPlayer  ", "FishPlayer_DeleteAllSubPlayer  ");
    return pMainPlayer ? pMainPlayer->DeleteAllSubPlayer() : -1;
}

int CLS_FishPlayer::FishPlayer_DeleteAllPlayer(int _iFishPlayerID) {
    CLS_MainPlayer* pMainPlayer =
        FindMainPlayer(_iFishPlayerID, "FishPlayer_DeleteAllPlayer  ", "FishPlayer_DeleteAllPlayer  ");
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
