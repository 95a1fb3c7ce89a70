#include "FuzzSupport.h"

#include "bindings/CLS_ZebAlgoFcu.h"

#include <QtGlobal>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>

namespace {

// Printing every failure line would cost more than the calls that make it.
void QuietMessage(QtMsgType, const QMessageLogContext&, const QString&) {}

template <typename T> T* FakeControlOf(const char* _pcLibrary, const char* _pcFunction) {
    void* hModule = dlopen(_pcLibrary, RTLD_NOW | RTLD_NOLOAD);
    if (!hModule)
        return nullptr;
    auto pf = reinterpret_cast<T* (*)()>(dlsym(hModule, _pcFunction));
    dlclose(hModule); // drops only the reference taken here
    return pf ? pf() : nullptr;
}

FakeEngineControl* g_pEngine = nullptr;
FakeAlgoControl* g_pAlgo = nullptr;

// Results that an input may script, with any value. The engine's play id is left out (creations
// script a new one themselves), and so is the algorithm handle (only null is a handle a fuzz input
// can give: see ScriptFakes).
const char* const g_apcScriptable[] = {
    "KW_Play",
    "KW_PlayerControl",
    "KW_PutStreamToPlayer",
    "KW_DeletePlayer",
    "KW_CreateFishEyeCorrect",
    "KW_DeleteFishEyeCorrect",
    "KW_SetFishEyeCorrectCallBack",
    "KW_SetFishEyeCorrectEnable",
    "KW_GetFishEyeCorrectPara",
    "KW_SetFishEyeCorrectPara",
    "ZebAlgo_FCU_Release",
    "ZebAlgo_FCU_Init",
    "ZebAlgo_FCU_Ctrl",
    "ZebAlgo_FCU_Point_Transform",
    "ZebAlgo_FCU_CorrectPoint",
    "ZebAlgo_FCU_Process",
};
constexpr int SCRIPTABLE_COUNT = sizeof(g_apcScriptable) / sizeof(g_apcScriptable[0]);

const int g_aiCorrectTypes[] = {
    0, CORRECT_TYPE_PTZ, CORRECT_TYPE_180, CORRECT_TYPE_360, CORRECT_TYPE_LAT, CORRECT_TYPE_FISHEYE};

} // namespace

std::uint8_t FuzzInput::U8() {
    return m_pos < m_size ? m_pData[m_pos++] : 0;
}

std::uint16_t FuzzInput::U16() {
    const std::uint16_t usLow = U8();
    return static_cast<std::uint16_t>(usLow | (U8() << 8));
}

std::int32_t FuzzInput::I32() {
    std::uint32_t uiValue = 0;
    for (int i = 0; i < 4; ++i)
        uiValue |= static_cast<std::uint32_t>(U8()) << (8 * i);
    std::int32_t iValue = 0;
    std::memcpy(&iValue, &uiValue, sizeof(iValue));
    return iValue;
}

float FuzzInput::F32() {
    const std::int32_t iBits = I32();
    float fValue = 0.0f;
    std::memcpy(&fValue, &iBits, sizeof(fValue));
    return fValue;
}

std::vector<unsigned char> FuzzInput::Bytes(size_t _n) {
    std::vector<unsigned char> vecBytes(_n, 0);
    const size_t available = m_pos < m_size ? std::min(_n, m_size - m_pos) : 0;
    if (available > 0)
        std::memcpy(vecBytes.data(), m_pData + m_pos, available);
    m_pos += available;
    return vecBytes;
}

void FuzzInitialise() {
    qInstallMessageHandler(QuietMessage);
    CLS_FishPlayer::GetInstance(); // loads the engine
    CLS_ZebAlgoFcu::LoadLib();     // loads the algorithm, which players would load on first use
    g_pEngine = FakeControlOf<FakeEngineControl>("Korvane.dll", "FakeEngine_Control");
    g_pAlgo = FakeControlOf<FakeAlgoControl>("zeb_algo_fcu.dll", "FakeAlgo_Control");
    if (!g_pEngine || !g_pAlgo) {
        std::fprintf(stderr, "fuzz: the fake engine and algorithm must be on LD_LIBRARY_PATH "
                             "(build-fuzz/fakes/engine/full and build-fuzz/fakes/algo/full)\n");
        std::abort();
    }
}

void FuzzBeginInput() {
    g_pEngine->Reset();
    g_pAlgo->Reset();
    CLS_FishPlayer::GetInstance()->SetPlayIndex(0);
}

FakeEngineControl* FuzzEngine() {
    return g_pEngine;
}

FakeAlgoControl* FuzzAlgo() {
    return g_pAlgo;
}

std::unique_ptr<unsigned char[]> ExactBuffer(const std::vector<unsigned char>& _vecBytes, size_t _size) {
    std::unique_ptr<unsigned char[]> pcBuffer(new unsigned char[_size]);
    const size_t copied = std::min(_size, _vecBytes.size());
    if (_size > 0)
        std::memset(pcBuffer.get(), 0, _size);
    if (copied > 0)
        std::memcpy(pcBuffer.get(), _vecBytes.data(), copied);
    return pcBuffer;
}

int FuzzPlayers::FreshId(int _iWish, bool _blPlayId) {
    int iId = _blPlayId && _iWish < 0 ? _iWish & INT_MAX : _iWish;
    while (m_setUsed.count(iId) != 0) {
        if (iId == INT_MAX)
            iId = _blPlayId ? 0 : INT_MIN;
        else
            ++iId;
    }
    m_setUsed.insert(iId);
    return iId;
}

void FuzzPlayers::NoteCreation(int _iId, bool _blCreated) {
    if (std::find(m_vecCandidates.begin(), m_vecCandidates.end(), _iId) == m_vecCandidates.end())
        m_vecCandidates.push_back(_iId);
    if (_blCreated)
        m_setCreated.insert(_iId);
}

void FuzzPlayers::NoteDeleted(int _iId) {
    m_setCreated.erase(_iId);
}

int FuzzPlayers::PickId(FuzzInput& _input) const {
    const std::uint8_t ucSelector = _input.U8();
    if (m_vecCandidates.empty() || ucSelector >= 224)
        return _input.I32();
    return m_vecCandidates[ucSelector % m_vecCandidates.size()];
}

int FuzzPlayers::PickQueryId(FuzzInput& _input) const {
    const std::uint8_t ucSelector = _input.U8();
    if (m_setCreated.empty() || ucSelector >= 224)
        return ucSelector & 1 ? UNKNOWN_ID_1 : UNKNOWN_ID_2;
    auto it = m_setCreated.begin();
    std::advance(it, ucSelector % m_setCreated.size());
    return *it;
}

void FuzzPlayers::DeleteAll(CLS_FishPlayer* _pFish) {
    for (int iId : m_vecCandidates)
        _pFish->FishPlayer_DeleteAllPlayer(iId); // fails for an id that holds no player
    m_vecCandidates.clear();
    m_setCreated.clear();
}

int DecodeCorrectType(FuzzInput& _input) {
    const std::uint8_t ucKey = _input.U8();
    return ucKey % 8 < 6 ? g_aiCorrectTypes[ucKey % 8] : _input.I32();
}

int DecodePlayIndex(FuzzInput& _input) {
    const std::uint8_t ucSelector = _input.U8();
    return ucSelector < 224 ? ucSelector % 4 : _input.I32();
}

int DecodeCommand(FuzzInput& _input, int _iNamed) {
    const std::uint8_t ucSelector = _input.U8();
    return ucSelector < 240 ? ucSelector % (_iNamed + 2) : _input.I32();
}

STRUCT_FishDrawParam DecodeDrawParam(FuzzInput& _input) {
    STRUCT_FishDrawParam tDraw{};
    const std::uint8_t ucSelector = _input.U8();
    tDraw.m_iDrawEnable = ucSelector < 192 ? 0 : (ucSelector < 224 ? 1 : _input.I32());
    const std::uint8_t ucType = _input.U8();
    tDraw.m_iDrawType = ucType < 240 ? ucType % 3 : _input.I32();
    return tDraw;
}

QMap<int, QVector<void*>> DecodeWindows(FuzzInput& _input) {
    QMap<int, QVector<void*>> qmapWindows;
    const int iEntries = _input.U8() % 9;
    for (int i = 0; i < iEntries; ++i) {
        const int iKey = DecodeCorrectType(_input);
        const int iWindows = _input.U8() % 10;
        QVector<void*> qvecWindows;
        for (int k = 0; k < iWindows; ++k)
            qvecWindows.append(reinterpret_cast<void*>(static_cast<intptr_t>(_input.I32())));
        qmapWindows[iKey] = qvecWindows;
    }
    return qmapWindows;
}

void ScriptFakes(FuzzInput& _input, int _iMaxSteps) {
    const int iSteps = _input.U8() % (_iMaxSteps + 1);
    for (int i = 0; i < iSteps; ++i) {
        const int iKind = _input.U8() % (SCRIPTABLE_COUNT + 5);
        if (iKind < SCRIPTABLE_COUNT) {
            const std::int32_t iResult = _input.I32();
            (iKind < 10 ? static_cast<FakeControl*>(g_pEngine) : g_pAlgo)
                ->PushResult(g_apcScriptable[iKind], iResult);
            continue;
        }
        switch (iKind - SCRIPTABLE_COUNT) {
        case 0: // the next algorithm handle cannot be created
            g_pAlgo->PushResult("ZebAlgo_FCU_Creat", 0);
            break;
        case 1: {
            const float fX = _input.F32();
            g_pAlgo->PushPoint("ZebAlgo_FCU_Point_Transform", fX, _input.F32());
            break;
        }
        case 2: {
            const float fX = _input.F32();
            g_pAlgo->PushPoint("ZebAlgo_FCU_CorrectPoint", fX, _input.F32());
            break;
        }
        case 3: { // a small outline: the points fit the caller's block, as the algorithm promises
            std::vector<std::vector<std::pair<float, float>>> vecLines(_input.U8() % 5);
            for (auto& vecLine : vecLines) {
                vecLine.resize(_input.U8() % 17);
                for (auto& point : vecLine) {
                    point.first = _input.F32();
                    point.second = _input.F32();
                }
            }
            g_pAlgo->SetLines(vecLines);
            break;
        }
        default:
            g_pAlgo->SetLineNumOverride(_input.I32());
            break;
        }
    }
}

FuzzCreation DecodeCreation(FuzzInput& _input, FuzzPlayers& _players) {
    FuzzCreation tCreation;
    const std::uint8_t ucFlags = _input.U8();
    tCreation.m_iStreamType = _input.I32();
    tCreation.m_iHeadSize = _input.I32();
    const std::vector<unsigned char> vecHeader = _input.Bytes(_input.U8() % 64);
    // The client hands over at least the bytes the library may read: min(size, 12).
    const size_t readable =
        tCreation.m_iHeadSize > 0 ? std::min<size_t>(static_cast<size_t>(tCreation.m_iHeadSize), 12) : 0;
    const size_t bufferSize = std::max(vecHeader.size(), readable);
    tCreation.m_pcHeader = ExactBuffer(vecHeader, bufferSize);
    if ((ucFlags & 0x10) != 0 && bufferSize >= sizeof(int)) // a header that matches its size
        std::memcpy(tCreation.m_pcHeader.get(), &tCreation.m_iHeadSize, sizeof(int));
    tCreation.m_blNullHeader = (ucFlags & 0x02) != 0;
    tCreation.m_pMainWindow =
        (ucFlags & 0x01) != 0 ? nullptr : reinterpret_cast<void*>(static_cast<intptr_t>(_input.I32() | 1));
    tCreation.m_blNullId = (ucFlags & 0x04) != 0;
    tCreation.m_blIsInitUserData = (ucFlags & 0x08) != 0;
    if ((ucFlags & 0x20) != 0)
        g_pAlgo->PushResult("ZebAlgo_FCU_Creat", 0);
    const std::int32_t iPlayId = _input.I32();
    if ((ucFlags & 0x40) != 0) // the engine cannot open a player: any negative code
        g_pEngine->PushResult("KW_CreatePlayerForSpecialNeeds", iPlayId < 0 ? iPlayId : -1 - iPlayId);
    else
        g_pEngine->PushResult("KW_CreatePlayerForSpecialNeeds", _players.FreshId(iPlayId, true));
    tCreation.m_iPresetId = _players.FreshId(_input.I32(), false);
    tCreation.m_iPlayIndex = DecodePlayIndex(_input);
    tCreation.m_tParam.m_iInstallMode = _input.I32();
    tCreation.m_tParam.m_iAlgoParam = _input.I32();
    tCreation.m_tParam.m_iExtra = _input.I32();
    tCreation.m_tDraw = DecodeDrawParam(_input);
    tCreation.m_qmapWindows = DecodeWindows(_input);
    const std::vector<unsigned char> vecTLD = _input.Bytes(sizeof(osd_TLDCSet));
    std::memcpy(&tCreation.m_tTLDSet, vecTLD.data(), sizeof(osd_TLDCSet));
    return tCreation;
}

int RunCreation(CLS_FishPlayer* _pFish, FuzzCreation& _tCreation, FuzzPlayers& _players, int* _piId) {
    _pFish->SetPlayIndex(_tCreation.m_iPlayIndex);
    int iId = _tCreation.m_iPresetId;
    QMap<int, QVector<int>> qmapIds;
    const int iRet = _pFish->FishPlayer_CreatePlayerFromStream(
        _tCreation.m_tParam, _tCreation.m_pMainWindow, _tCreation.m_qmapWindows, _tCreation.m_iStreamType,
        _tCreation.m_blNullHeader ? nullptr : _tCreation.m_pcHeader.get(), _tCreation.m_iHeadSize,
        _tCreation.m_blNullId ? nullptr : &iId, qmapIds, _tCreation.m_blIsInitUserData, _tCreation.m_tTLDSet,
        _tCreation.m_tDraw);
    if (!_tCreation.m_blNullId)
        _players.NoteCreation(iId, iRet == 0);
    if (_piId)
        *_piId = iId;
    return iRet;
}
