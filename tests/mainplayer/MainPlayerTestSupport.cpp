#include "MainPlayerTestSupport.h"

namespace {

std::mutex g_mutexOrder;
Lines g_vecOrder;

void Note(std::string _strCall) {
    std::lock_guard<std::mutex> lock(g_mutexOrder);
    g_vecOrder.push_back(std::move(_strCall));
}

using SDK = CLS_ZebPlayer_SDK;
using FCU = CLS_ZebAlgoFcu;

// The original pointers while the wrappers are installed.
SDK::PF_KW_CreatePlayerForSpecialNeeds g_pfCreate;
SDK::PF_KW_Play g_pfPlay;
SDK::PF_KW_PlayerControl g_pfControl;
SDK::PF_KW_DeletePlayer g_pfDelete;
SDK::PF_KW_SetFishEyeCorrectEnable g_pfEnable;
SDK::PF_KW_SetFishEyeCorrectCallBack g_pfCallBack;
SDK::PF_KW_DeleteFishEyeCorrect g_pfDeleteCorrect;
FCU::PF_ZebAlgo_FCU_Creat g_pfCreat;
FCU::PF_ZebAlgo_FCU_Init g_pfInit;
FCU::PF_ZebAlgo_FCU_Release g_pfRelease;
FCU::PF_ZebAlgo_FCU_Ctrl g_pfCtrl;

int Create(int _iKind, void* _pParam, int _iSize, int _iReserved) {
    Note("KW_CreatePlayerForSpecialNeeds");
    return g_pfCreate(_iKind, _pParam, _iSize, _iReserved);
}
int Play(int _iPlayId) {
    Note("KW_Play");
    return g_pfPlay(_iPlayId);
}
int Control(int _iPlayIndex, int _iCommand, void* _pParam, int _iSize, int _iReserved) {
    Note("KW_PlayerControl");
    return g_pfControl(_iPlayIndex, _iCommand, _pParam, _iSize, _iReserved);
}
int Delete(int _iPlayId) {
    Note("KW_DeletePlayer");
    return g_pfDelete(_iPlayId);
}
int Enable(int _iPlayId, int _iEnable, const void* _pSetup) {
    Note("KW_SetFishEyeCorrectEnable " + std::to_string(_iEnable));
    return g_pfEnable(_iPlayId, _iEnable, _pSetup);
}
int CallBack(int _iPlayId, int _iCorrectId, PF_FishEyeCorrectCallBack _pf, void* _pUser) {
    Note("KW_SetFishEyeCorrectCallBack " + std::to_string(_iCorrectId));
    return g_pfCallBack(_iPlayId, _iCorrectId, _pf, _pUser);
}
int DeleteCorrect(int _iPlayId, int _iCorrectId) {
    Note("KW_DeleteFishEyeCorrect " + std::to_string(_iCorrectId));
    return g_pfDeleteCorrect(_iPlayId, _iCorrectId);
}
void* Creat(void* _p1, void* _p2) {
    Note("ZebAlgo_FCU_Creat");
    return g_pfCreat(_p1, _p2);
}
int Init(void* _pHandle, void* _pParam) {
    Note("ZebAlgo_FCU_Init");
    return g_pfInit(_pHandle, _pParam);
}
int Release(void* _pHandle) {
    Note("ZebAlgo_FCU_Release");
    return g_pfRelease(_pHandle);
}
int Ctrl(void* _pHandle, void* _pParam) {
    Note("ZebAlgo_FCU_Ctrl");
    return g_pfCtrl(_pHandle, _pParam);
}

// Wraps a bound pointer; a missing one stays missing.
template <typename PF> void Wrap(PF& _pfBound, PF& _pfSaved, PF _pfWrapper) {
    _pfSaved = _pfBound;
    if (_pfBound)
        _pfBound = _pfWrapper;
}

} // namespace

CallOrder::CallOrder() {
    Wrap(SDK::KW_CreatePlayerForSpecialNeeds, g_pfCreate, &Create);
    Wrap(SDK::KW_Play, g_pfPlay, &Play);
    Wrap(SDK::KW_PlayerControl, g_pfControl, &Control);
    Wrap(SDK::KW_DeletePlayer, g_pfDelete, &Delete);
    Wrap(SDK::KW_SetFishEyeCorrectEnable, g_pfEnable, &Enable);
    Wrap(SDK::KW_SetFishEyeCorrectCallBack, g_pfCallBack, &CallBack);
    Wrap(SDK::KW_DeleteFishEyeCorrect, g_pfDeleteCorrect, &DeleteCorrect);
    Wrap(FCU::ZebAlgo_FCU_Creat, g_pfCreat, &Creat);
    Wrap(FCU::ZebAlgo_FCU_Init, g_pfInit, &Init);
    Wrap(FCU::ZebAlgo_FCU_Release, g_pfRelease, &Release);
    Wrap(FCU::ZebAlgo_FCU_Ctrl, g_pfCtrl, &Ctrl);
    Clear();
}

CallOrder::~CallOrder() {
    SDK::KW_CreatePlayerForSpecialNeeds = g_pfCreate;
    SDK::KW_Play = g_pfPlay;
    SDK::KW_PlayerControl = g_pfControl;
    SDK::KW_DeletePlayer = g_pfDelete;
    SDK::KW_SetFishEyeCorrectEnable = g_pfEnable;
    SDK::KW_SetFishEyeCorrectCallBack = g_pfCallBack;
    SDK::KW_DeleteFishEyeCorrect = g_pfDeleteCorrect;
    FCU::ZebAlgo_FCU_Creat = g_pfCreat;
    FCU::ZebAlgo_FCU_Init = g_pfInit;
    FCU::ZebAlgo_FCU_Release = g_pfRelease;
    FCU::ZebAlgo_FCU_Ctrl = g_pfCtrl;
}

Lines CallOrder::Calls() {
    std::lock_guard<std::mutex> lock(g_mutexOrder);
    return g_vecOrder;
}

void CallOrder::Clear() {
    std::lock_guard<std::mutex> lock(g_mutexOrder);
    g_vecOrder.clear();
}
