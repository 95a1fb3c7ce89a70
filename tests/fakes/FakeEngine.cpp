// Fake player engine, built as "Korvane.dll": records every call and answers as scripted.
#include "FakeState.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

typedef void (*PF_UserData)(int, int, const unsigned char*, int, void*);

class FakeEngine final : public FakeState<FakeEngineControl> {
public:
    void SetPara(int _iCorrectId, int _iKind, const std::vector<unsigned char>& _vecBytes) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_mapPara[{_iCorrectId, _iKind}] = _vecBytes;
    }
    std::vector<unsigned char> GetPara(int _iCorrectId, int _iKind) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto it = m_mapPara.find({_iCorrectId, _iKind});
        return it == m_mapPara.end() ? std::vector<unsigned char>() : it->second;
    }
    bool DeliverUserData(int _iPlayIndex, int _iDataType, const unsigned char* _pcData,
                         int _iLength) override {
        std::pair<PF_UserData, void*> registration;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            auto it = m_mapUserData.find(_iPlayIndex);
            if (it == m_mapUserData.end() || !it->second.first)
                return false;
            registration = it->second;
        }
        // Called without the lock, as an engine thread would: the callback calls back into the engine.
        registration.first(_iPlayIndex, _iDataType, _pcData, _iLength, registration.second);
        return true;
    }

    void SetStreamCopyLimit(int _iMaxBytes) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_iStreamCopyLimit = _iMaxBytes;
    }
    int StreamCopyLimit() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_iStreamCopyLimit;
    }

    int NextPlayId() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_iNextPlayId++;
    }
    int NextCorrectId() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_iNextCorrectId++;
    }
    void Register(int _iPlayIndex, PF_UserData _pf, void* _pUser) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_mapUserData[_iPlayIndex] = {_pf, _pUser};
    }

protected:
    void ResetOwn() override {
        m_mapPara.clear();
        m_mapUserData.clear();
        m_iNextPlayId = 1;
        m_iNextCorrectId = 100;
        m_iStreamCopyLimit = std::numeric_limits<int>::max();
    }

private:
    std::map<std::pair<int, int>, std::vector<unsigned char>> m_mapPara;
    std::map<int, std::pair<PF_UserData, void*>> m_mapUserData;
    int m_iNextPlayId = 1;
    int m_iNextCorrectId = 100;
    int m_iStreamCopyLimit = std::numeric_limits<int>::max();
};

FakeEngine& Engine() {
    static FakeEngine s_engine;
    return s_engine;
}

int Call(FakeCall _call, std::int64_t _llDefault) {
    return static_cast<int>(Engine().Record(std::move(_call), _llDefault));
}

using Bytes = std::vector<unsigned char>;

Bytes Copy(const void* _p, long long _llSize) {
    return FakeState<FakeEngineControl>::Bytes(_p, _llSize);
}

std::int64_t Addr(const void* _p) {
    return FakeState<FakeEngineControl>::Address(_p);
}

} // namespace

FAKE_EXPORT FakeEngineControl* FakeEngine_Control() {
    return &Engine();
}

FAKE_EXPORT int KW_CreateSystem(int _iReserved) {
    return Call({"KW_CreateSystem", {_iReserved}, {}}, 0);
}

FAKE_EXPORT int KW_CreatePlayerForSpecialNeeds(int _iKind, void* _pParam, int _iSize, int _iReserved) {
    return Call(
        {"KW_CreatePlayerForSpecialNeeds", {_iKind, Addr(_pParam), _iSize, _iReserved}, {Copy(_pParam, 32)}},
        Engine().NextPlayId());
}

FAKE_EXPORT int KW_Play(int _iPlayId) {
    return Call({"KW_Play", {_iPlayId}, {}}, 0);
}

FAKE_EXPORT int KW_PlayerControl(int _iPlayIndex, int _iCommand, void* _pParam, int _iSize, int _iReserved) {
    const int iRet = Call({"KW_PlayerControl",
                           {_iPlayIndex, _iCommand, Addr(_pParam), _iSize, _iReserved},
                           {Copy(_pParam, 24)}},
                          0);
    if (iRet == 0 && _iCommand == 4 && _pParam) {
        PF_UserData pf = nullptr;
        void* pUser = nullptr;
        std::memcpy(&pf, static_cast<const char*>(_pParam) + 8, sizeof(pf));
        std::memcpy(&pUser, static_cast<const char*>(_pParam) + 16, sizeof(pUser));
        Engine().Register(_iPlayIndex, pUser ? pf : nullptr, pUser);
    }
    return iRet;
}

FAKE_EXPORT int KW_PutStreamToPlayer(int _iPlayId, unsigned char* _pcData, int _iSize) {
    const int iCopy = std::min(_iSize, Engine().StreamCopyLimit());
    return Call({"KW_PutStreamToPlayer", {_iPlayId, Addr(_pcData), _iSize}, {Copy(_pcData, iCopy)}}, 0);
}

FAKE_EXPORT int KW_DeletePlayer(int _iPlayId) {
    return Call({"KW_DeletePlayer", {_iPlayId}, {}}, 0);
}

FAKE_EXPORT int KW_CreateFishEyeCorrect(int _iPlayId, const void* _pSetup, int _iSize) {
    return Call({"KW_CreateFishEyeCorrect", {_iPlayId, Addr(_pSetup), _iSize}, {Copy(_pSetup, 88)}},
                Engine().NextCorrectId());
}

FAKE_EXPORT int KW_DeleteFishEyeCorrect(int _iPlayId, int _iCorrectId) {
    return Call({"KW_DeleteFishEyeCorrect", {_iPlayId, _iCorrectId}, {}}, 0);
}

FAKE_EXPORT int KW_SetFishEyeCorrectCallBack(int _iPlayId, int _iCorrectId, void (*_pf)(int, void*),
                                             void* _pUser) {
    return Call({"KW_SetFishEyeCorrectCallBack",
                 {_iPlayId, _iCorrectId, Addr(reinterpret_cast<const void*>(_pf)), Addr(_pUser)},
                 {}},
                0);
}

FAKE_EXPORT int KW_SetFishEyeCorrectEnable(int _iPlayId, int _iEnable, const void* _pSetup) {
    return Call({"KW_SetFishEyeCorrectEnable", {_iPlayId, _iEnable, Addr(_pSetup)}, {Copy(_pSetup, 88)}},
                _iEnable ? 7 : 0);
}

FAKE_EXPORT int KW_GetFishEyeCorrectPara(int _iPlayId, int _iCorrectId, int _iKind, void* _pBuffer,
                                         int _iSize) {
    const int iRet = Call({"KW_GetFishEyeCorrectPara",
                           {_iPlayId, _iCorrectId, _iKind, Addr(_pBuffer), _iSize},
                           {Copy(_pBuffer, _iSize)}},
                          0);
    if (iRet == 0 && _pBuffer && _iSize > 0) {
        const Bytes bytes = Engine().GetPara(_iCorrectId, _iKind);
        if (!bytes.empty())
            std::memcpy(_pBuffer, bytes.data(), std::min<size_t>(bytes.size(), static_cast<size_t>(_iSize)));
    }
    return iRet;
}

FAKE_EXPORT int KW_SetFishEyeCorrectPara(int _iPlayId, int _iCorrectId, int _iKind, void* _pBuffer,
                                         int _iSize) {
    const Bytes bytes = Copy(_pBuffer, _iSize);
    const int iRet = Call(
        {"KW_SetFishEyeCorrectPara", {_iPlayId, _iCorrectId, _iKind, Addr(_pBuffer), _iSize}, {bytes}}, 0);
    if (iRet == 0)
        Engine().SetPara(_iCorrectId, _iKind, bytes);
    return iRet;
}

// Exports the library binds but never calls: they only leave a trace. The open engine's extension
// is not the closed engine's, so the fake has none.
#define FAKE_KW_STUB(name)                                                                                   \
    FAKE_EXPORT int name() {                                                                                 \
        return Call({#name, {}, {}}, -1);                                                                    \
    }
#define ZEB_KW_EXPORT(role, name, result, args) FAKE_KW_##role(name)
#define FAKE_KW_CALLED(name)
#define FAKE_KW_RESOLVED(name) FAKE_KW_STUB(name)
#define FAKE_KW_UNTYPED(name) FAKE_KW_STUB(name)
#define FAKE_KW_EXTENSION(name)
#include "abi/KorvaneExports.inc"
