// Arbitrary sequences of calls of the exported class, every argument decoded from the input:
// creation and deletion of players, view deletion and re-creation, every window and PTZ control
// with every command value (named ones, the next ones, any int), the switches, feeding, overlay
// callbacks, the play index, user data and its stop, and scripted engine and algorithm failures.
// At most MAX_OPERATIONS calls and MAX_CREATIONS player creations per input; the input ends by
// deleting every player it made.
#include "FuzzSupport.h"

#include <atomic>

namespace {

constexpr int MAX_OPERATIONS = 96;
constexpr int MAX_CREATIONS = 6;
constexpr int MAX_PACKET = 512;

std::atomic<unsigned> g_uiOverlayPoints{0};

// Reads every point it is given, so that a bad overlay shows up under the sanitizers.
int Overlay(int, int, QVector<QVector<QVector<STRUCT_DrawPoint>>> _qvecOverlay) {
    unsigned uiPoints = 0;
    for (const auto& qvecView : _qvecOverlay)
        for (const auto& qvecLine : qvecView)
            for (const STRUCT_DrawPoint& tPoint : qvecLine)
                uiPoints += tPoint.m_fX == tPoint.m_fY ? 1u : 2u;
    g_uiOverlayPoints += uiPoints;
    return 0;
}

STRUCT_CtlParam DecodeCtlParam(FuzzInput& _input) {
    STRUCT_CtlParam tParam{};
    tParam.m_iX = _input.I32();
    tParam.m_iY = _input.I32();
    tParam.m_iZ = _input.I32();
    return tParam;
}

STRUCT_FishWindowRect DecodeRect(FuzzInput& _input) {
    STRUCT_FishWindowRect tRect{};
    tRect.m_iWidth = _input.I32();
    tRect.m_iHeight = _input.I32();
    return tRect;
}

STRUCT_FishEyeParam DecodeFishEyeParam(FuzzInput& _input) {
    STRUCT_FishEyeParam tParam{};
    tParam.m_iInstallMode = _input.I32();
    tParam.m_iAlgoParam = _input.I32();
    tParam.m_iExtra = _input.I32();
    return tParam;
}

// A PTZ view index: mostly -1 to 8, sometimes any value.
int DecodePtzIndex(FuzzInput& _input) {
    const std::uint8_t ucSelector = _input.U8();
    return ucSelector < 224 ? ucSelector % 10 - 1 : _input.I32();
}

class FacadeSession {
public:
    explicit FacadeSession(FuzzInput& _input) : m_input(_input) {}

    void Run() {
        for (int i = 0; i < MAX_OPERATIONS && !m_input.Empty(); ++i)
            Step();
        m_players.DeleteAll(m_pFish);
    }

private:
    void Step() {
        switch (m_input.U8() % 19) {
        case 0:
            Create();
            break;
        case 1: {
            const STRUCT_FishEyeParam tParam = DecodeFishEyeParam(m_input);
            const int iId = m_players.PickId(m_input);
            const QMap<int, QVector<void*>> qmapWindows = DecodeWindows(m_input);
            QMap<int, QVector<int>> qmapIds;
            const int iExtra = m_input.I32();
            m_pFish->FishPlayer_CreateSubPlayer(tParam, iId, qmapWindows, qmapIds, iExtra,
                                                DecodeDrawParam(m_input));
            break;
        }
        case 2:
            m_pFish->FishPlayer_DeleteAllSubPlayer(m_players.PickId(m_input));
            break;
        case 3: {
            const int iId = m_players.PickId(m_input);
            if (m_pFish->FishPlayer_DeleteAllPlayer(iId) == 0)
                m_players.NoteDeleted(iId);
            break;
        }
        case 4: {
            const int iId = m_players.PickId(m_input);
            const int iType = DecodeCorrectType(m_input);
            const STRUCT_CtlParam tParam = DecodeCtlParam(m_input);
            const auto eCmd = static_cast<n_CtlCmd>(DecodeCommand(m_input, 2));
            m_pFish->FishPlayer_CorrectWindowCtl(iId, iType, tParam, eCmd, DecodeRect(m_input));
            break;
        }
        case 5: {
            const int iId = m_players.PickId(m_input);
            const int iIndex = DecodePtzIndex(m_input);
            STRUCT_CtlPointParam tPoint{};
            tPoint.m_iStartX = m_input.I32();
            tPoint.m_iStartY = m_input.I32();
            tPoint.m_iEndX = m_input.I32();
            tPoint.m_iEndY = m_input.I32();
            const auto eCmd = static_cast<n_CtlCmd>(DecodeCommand(m_input, 2));
            m_pFish->FishPlayer_DrawWindowCtl(iId, iIndex, tPoint, eCmd, DecodeRect(m_input));
            break;
        }
        case 6: {
            const int iId = m_players.PickId(m_input);
            const int iIndex = DecodePtzIndex(m_input);
            const STRUCT_CtlParam tParam = DecodeCtlParam(m_input);
            const auto eCmd = static_cast<n_CtlCmd>(DecodeCommand(m_input, 2));
            m_pFish->FishPlayer_PTZWindowCtl(iId, iIndex, tParam, eCmd, DecodeRect(m_input));
            break;
        }
        case 7: {
            const int iId = m_players.PickId(m_input);
            const int iIndex = DecodePtzIndex(m_input);
            const STRUCT_CtlParam tParam = DecodeCtlParam(m_input);
            m_pFish->FishPlayer_PTZCtl(iId, iIndex, tParam,
                                       static_cast<n_PTZCtlCmd>(DecodeCommand(m_input, 10)));
            break;
        }
        case 8: {
            const int iId = m_players.PickId(m_input);
            m_pFish->FishPlayer_EnableDraw(iId, m_input.Bool());
            break;
        }
        case 9: {
            const int iId = m_players.PickId(m_input);
            m_pFish->FishPlayer_EnableFish(iId, m_input.Bool());
            break;
        }
        case 10:
            Feed();
            break;
        case 11: {
            const int iId = m_players.PickId(m_input);
            m_pFish->FishPlayer_RegisterDrawCallback(iId, m_input.U8() < 32 ? nullptr : &Overlay);
            break;
        }
        case 12:
            if (m_input.Bool())
                m_pFish->SetPlayIndex(DecodePlayIndex(m_input));
            else
                m_pFish->GetPlayIndex();
            break;
        case 13:
            m_pFish->GetIsInitUserData(m_players.PickQueryId(m_input));
            break;
        case 14:
            CLS_FishPlayer::FishPlayer_StopRevChUserDate(DecodePlayIndex(m_input));
            break;
        case 15:
            DeliverUserData();
            break;
        case 16:
            ScriptFakes(m_input, 3);
            break;
        case 17:
            CreateFromFile();
            break;
        default: {
            const int iId = m_players.PickId(m_input);
            if (m_input.Bool())
                m_pFish->FishPlayer_StartTrack(iId);
            else
                m_pFish->FishPlayer_StopTrack(iId);
            break;
        }
        }
    }

    void Create() {
        if (m_iCreations >= MAX_CREATIONS)
            return;
        ++m_iCreations;
        FuzzCreation tCreation = DecodeCreation(m_input, m_players);
        RunCreation(m_pFish, tCreation, m_players);
    }

    // Always fails (playing from a file is not provided); must leave nothing behind.
    void CreateFromFile() {
        const STRUCT_FishEyeParam tParam = DecodeFishEyeParam(m_input);
        const std::uint8_t ucFlags = m_input.U8();
        const QMap<int, QVector<void*>> qmapWindows = DecodeWindows(m_input);
        int iId = m_players.FreshId(m_input.I32(), false);
        QMap<int, QVector<int>> qmapIds;
        m_pFish->FishPlayer_CreatePlayerFromFile(
            tParam, (ucFlags & 1) ? nullptr : reinterpret_cast<void*>(0x1000), qmapWindows,
            QStringLiteral("stream.bin"), (ucFlags & 2) ? nullptr : &iId, qmapIds, DecodeDrawParam(m_input));
    }

    // One packet of exactly its length; the size given is that length, less, 0 or negative.
    void Feed() {
        const int iId = m_players.PickId(m_input);
        const int iDataType = m_input.U8() < 224 ? 0 : m_input.I32();
        const size_t length = m_input.U16() % (MAX_PACKET + 1);
        const std::vector<unsigned char> vecPacket = m_input.Bytes(length);
        const std::uint8_t ucSize = m_input.U8();
        int iSize = static_cast<int>(length);
        if (ucSize >= 128 && ucSize < 192)
            iSize = static_cast<int>(length * (ucSize - 128) / 64); // a part of it
        else if (ucSize >= 192)
            iSize = ucSize == 255 ? 0 : -(ucSize - 191) * 1000003; // none, or negative
        std::unique_ptr<unsigned char[]> pcPacket = ExactBuffer(vecPacket, length);
        const bool blNull = m_input.U8() >= 240;
        m_pFish->FishPlayer_PutStreamToPlayer(iId, iDataType, blNull ? nullptr : pcPacket.get(), iSize);
    }

    // User data as the engine delivers it on a play index: any type, any length.
    void DeliverUserData() {
        const int iPlayIndex = DecodePlayIndex(m_input);
        const std::uint8_t ucType = m_input.U8();
        const int iDataType = ucType < 192 ? 9 : m_input.I32();
        const size_t length = m_input.U16() % 301;
        const std::vector<unsigned char> vecPayload = m_input.Bytes(length);
        std::unique_ptr<unsigned char[]> pcPayload = ExactBuffer(vecPayload, length);
        FuzzEngine()->DeliverUserData(iPlayIndex, iDataType, pcPayload.get(), static_cast<int>(length));
    }

    FuzzInput& m_input;
    FuzzPlayers m_players;
    CLS_FishPlayer* m_pFish = CLS_FishPlayer::GetInstance();
    int m_iCreations = 0;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    FuzzInitialise();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* _pData, size_t _size) {
    FuzzBeginInput();
    FuzzInput input(_pData, _size);
    FacadeSession(input).Run();
    return 0;
}
