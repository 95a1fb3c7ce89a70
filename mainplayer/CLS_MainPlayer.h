// _ZEBFAULT_
// One fisheye source: its engine player, its correction-algorithm handle and its views.
#ifndef CLS_MAIN_PLAYER_H
#define CLS_MAIN_PLAYER_H

#include "api/FishPlayerTypes.h"
#include "abi/ZebAlgoRecords.h"
#include "abi/ZebPlayerRecords.h"

#include <QMap>
#include <QMutex>
#include <QReadWriteLock>
#include <QString>
#include <QVector>

#include <atomic>
#include <limits>
#include <memory>
#include <thread>

class CLS_SubPlayer;

class CLS_MainPlayer {
public:
    // Binds the algorithm library and creates and initialises this player's algorithm handle;
    // a failure is logged and leaves the handle null.
    CLS_MainPlayer();
    CLS_MainPlayer(const CLS_MainPlayer&) = delete;
    CLS_MainPlayer& operator=(const CLS_MainPlayer&) = delete;

    // Virtual operations, in this fixed order.
    virtual ~CLS_MainPlayer();
    // Playback from a file: not provided, always -1.
    virtual int CreateMainPlayer(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
                                 const QString& _qstrFileName, int* _pFishMainPlyerID);
    // Playback from a stream: 0, -1, or the engine's non-zero KW_Play result.
    virtual int CreateMainPlayer(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
                                 int _iStreamType, unsigned char* _pcVideoHeader, int _iHeadSize,
                                 int* _pFishMainPlyerID, int _iPlayIndex, bool _blIsInitUserData,
                                 osd_TLDCSet _tTLDSet);
    virtual int CreateSubPlayers(const STRUCT_FishEyeParam& _tParam, int _iFishPlayerID,
                                 const QMap<int, QVector<void*>>& _qmapWindows,
                                 QMap<int, QVector<int>>& _qmapIds, const STRUCT_FishDrawParam& _tDrawParam,
                                 int _iExtra);
    virtual int DeleteAllPlayer();
    virtual int DeleteAllSubPlayer();
    virtual int PutStreamToPlayer(int _iDataType, unsigned char* _pcStreamData, int _iSize);
    virtual int ReservedOperation1(); // not provided, always -1
    virtual int ReservedOperation2(); // not provided, always -1

    // The argument checks of a stream creation, which the facade's two creation steps and the main
    // player each make with lines of their own, in this order. A null line leaves its check to the
    // caller; the main player writes its lines at info level.
    struct STRUCT_StreamArgumentLines {
        const char* m_pcNullWindow;
        const char* m_pcNullHeader;
        const char* m_pcBadHeadSize;
        const char* m_pcNullId;
        bool m_blInfo = false;
    };
    static int CheckStreamArguments(const STRUCT_StreamArgumentLines& _tLines, const void* _pMainWindow,
                                    const unsigned char* _pcVideoHeader, int _iHeadSize,
                                    const int* _pFishMainPlyerID);

    // Frees a main player whose creation failed. It calls the engine no further and logs nothing:
    // only its algorithm handle is released, as nothing else was opened that a failed creation
    // may close.
    static void DiscardFailedCreation(CLS_MainPlayer* _pMainPlayer);

    // User data.
    int ApplyTLDSet(const osd_TLDCSet* _pTLDSet);
    static void UserDataCallBack(int _iPlayIndex, int _iDataType, const unsigned char* _pcData, int _iLength,
                                 void* _pUser);
    bool IsInitUserData();

    // Correction and draw switches.
    int EnableFishEye(bool _blEnable);
    int EnableDraw(bool _blEnable);

    // Coordinate conversion.
    int Coord360ToFE(int* _piPointIn, int* _piPointOut);
    int GetDefultCenterPoint(int _iPtzId, int _iPtzNum, int* _piPointOut, int _iInstallMode, int _iExtra);

    // Control dispatch to the views.
    int CorrectWindowCtl(int _iCorrectType, STRUCT_CtlParam _tParam, n_CtlCmd _eCmd,
                         STRUCT_FishWindowRect _rect);
    int DrawWindowCtl(int _iPtzIndex, STRUCT_CtlPointParam _tPoint, n_CtlCmd _eCmd,
                      STRUCT_FishWindowRect _rect);
    int PTZWindowCtl(int _iPtzIndex, STRUCT_CtlParam _tParam, n_CtlCmd _eCmd, STRUCT_FishWindowRect _rect);
    int PTZCtl(int _iPtzIndex, STRUCT_CtlParam _tParam, n_PTZCtlCmd _ePTZCmd);

    // Overlay drawing.
    int RegisterDrawCallback(PF_FishDrawCallback _pfunCallback);
    static void FishEyeDrawCallBack(void* _pclsFish);
    int DrawCalculate();

protected:
    // Starts the draw thread unless one runs (the view set-up calls it).
    void StartDrawThread();
    // The PTZ view at the index, or null after logging why there is none, in lines that name the
    // PTZ control _pcMethod.
    CLS_SubPlayer* FindPTZView(int _iPtzIndex, const char* _pcMethod);

    QReadWriteLock m_qrwlockArea; // guards the video size and the area below
    int m_iVideoWidth = 1000;
    int m_iVideoHeight = 1000;
    // Last area applied, 0 to 10000 of the picture; NaN until one is applied, so that the first
    // area always differs.
    double m_dAreaLeft = std::numeric_limits<double>::quiet_NaN();
    double m_dAreaTop = std::numeric_limits<double>::quiet_NaN();
    double m_dAreaRight = std::numeric_limits<double>::quiet_NaN();
    double m_dAreaBottom = std::numeric_limits<double>::quiet_NaN();
    QReadWriteLock m_qrwlockUserData; // guards m_blIsInitUserData
    bool m_blIsInitUserData = false;
    int m_iMainPlayId = -1;
    int m_iFishCorrectId = -1;
    void* m_pMainWindow = nullptr;
    int m_iPlayIndex = 0;
    QMap<int, QVector<CLS_SubPlayer*>> m_qmapSubPlayers; // owned views by correction type
    void* m_pFcuHandle = nullptr;                        // owned algorithm handle
    bool m_blFishEyeEnabled = false;
    STRUCT_FishEyeParam m_tFishEyeParam{};
    std::atomic<bool> m_blDrawEnabled{false};                   // read by the draw thread
    std::atomic<PF_FishDrawCallback> m_pfDrawCallback{nullptr}; // written unlocked, read by the draw thread
    QMutex m_mutexDraw;                                         // held for one draw pass
    std::atomic<bool> m_blDrawThreadStop{true};                 // polled by the draw thread
    std::unique_ptr<std::thread> m_pDrawThread;
    QMutex m_mutexDrawThread;   // guards m_pDrawThread and its start and stop
    QMutex m_mutexFishEye;      // serialises EnableFishEye between client and engine threads
    bool m_blDiscarded = false; // set by DiscardFailedCreation: destruction touches the engine no more
};

#endif // CLS_MAIN_PLAYER_H
