// _ZEBFAULT_
// Base of every correction view. A view is one correction window that the engine renders from
// the main player's decoded fisheye video; the main player creates, steers and deletes its views
// through the virtual operations below, whose order is fixed.
#ifndef CLS_SUB_PLAYER_H
#define CLS_SUB_PLAYER_H

#include "api/FishPlayerTypes.h"
#include "bindings/CLS_ZebPlayer_SDK.h"

class CLS_SubPlayer {
public:
    CLS_SubPlayer() = default;
    CLS_SubPlayer(const CLS_SubPlayer&) = delete;
    CLS_SubPlayer& operator=(const CLS_SubPlayer&) = delete;

    // Unregisters the engine's correction callback and deletes the engine correction (base
    // DeletePlayer, whatever the view's kind); failures are only logged.
    virtual ~CLS_SubPlayer();
    // Opens the engine correction for the view; 0, -1 or the engine's negative code.
    virtual int CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                             void* _pWindow, int* _piSubPlayerId);
    // Deletes the engine correction; -1 or the engine's result.
    virtual int DeletePlayer();
    // The operations below do nothing and answer 0 unless a view overrides them.
    virtual int GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>& _qvecData);
    virtual int InitPTZDraw(void*& _pfcuHandle, const STRUCT_CorrectSetup* _pParam, int _iDrawType);
    virtual int Move(int _iX, int _iY, STRUCT_FishWindowRect _rect);
    virtual int Move(const STRUCT_CtlPointParam& _tPoint, STRUCT_FishWindowRect _rect);
    virtual int Zoom(int _iSteps);
    virtual int PTZCtl(const STRUCT_CtlParam& _tParam, n_PTZCtlCmd _ePTZCmd);
    virtual int GetCorrectPara(STRUCT_PanoramaPara* _pPara);
    virtual int GetCorrectPara(STRUCT_PTZCorrectPara* _pPara);
    virtual int SetCorrectPara(STRUCT_PanoramaPara* _pPara);
    virtual int SetCorrectPara(STRUCT_PTZCorrectPara* _pPara, bool _blForce);

    // Registers (or, with two nulls, removes) the engine's per-correction callback.
    int SetFecCallBackFunc(PF_FishEyeCorrectCallBack _pfCallBack, void* _pUser);

protected:
    // The argument checks of CreatePlayer, in their fixed order, with lines that name _pcClass;
    // 0 or -1 (logged).
    static int CheckCreateArguments(const char* _pcClass, void* _pfcuHandle, int _iMainPlayerId,
                                    const STRUCT_CorrectSetup* _pParam, void* _pWindow,
                                    const int* _piSubPlayerId);
    // Checks the arguments, opens the engine correction and, on success only, records the view.
    // The cached set-up fields are refreshed only when _blCacheSetup is set.
    int CreateEngineCorrection(const char* _pcClass, bool _blCacheSetup, void* _pfcuHandle,
                               int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam, void* _pWindow,
                               int* _piSubPlayerId);
    // Records the main player's handle and id, the window and the set-up record of the view.
    void KeepSetup(void* _pfcuHandle, int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam, void* _pWindow);

    int m_iMainPlayId = -1;                // engine id of the main player; negative: not created
    int m_iSubPlayId = -1;                 // engine id of this view's correction; negative: none
    void* m_pWindow = nullptr;             // the client's window
    STRUCT_CorrectSetup m_tCorrectSetup{}; // copy of the set-up record given to CreatePlayer
    void* m_pFcuHandle = nullptr;          // the main player's algorithm handle, not owned
    double m_dCenterX = 0.0;               // view centre in the 0 to 10000 plane (PTZ view)
    double m_dCenterY = 0.0;
    int m_iSetupMode = 0;  // set-up byte 4: mounting mode
    int m_iSetupType = 0;  // set-up byte 8: correction type
    int m_iSetupExtra = 0; // set-up byte 80
};

#endif // CLS_SUB_PLAYER_H
