// Channel user data of any type and any length (shorter and longer than the 136-byte area record,
// empty, or null with length 0) delivered through the fake engine's callback to a live player,
// interleaved with switching correction on and off, with engine and algorithm failures, with the
// player deleted and made again, and delivered from a second thread while the client switches
// correction or deletes the player. Every payload sits in a buffer of exactly its length.
#include "FuzzSupport.h"

#include <cstring>
#include <thread>

namespace {

constexpr int MAX_OPERATIONS = 64;
constexpr int MAX_PAYLOAD = 1024;
constexpr int MAX_CONCURRENT_DELIVERIES = 8;

// One delivery: its play index, data type and payload.
struct Delivery {
    int m_iPlayIndex = 0;
    int m_iDataType = 0;
    bool m_blNull = false;
    std::vector<unsigned char> m_vecPayload;

    void Deliver() const {
        const int iLength = static_cast<int>(m_vecPayload.size());
        std::unique_ptr<unsigned char[]> pcData = ExactBuffer(m_vecPayload, m_vecPayload.size());
        FuzzEngine()->DeliverUserData(m_iPlayIndex, m_iDataType, m_blNull ? nullptr : pcData.get(),
                                      m_blNull ? 0 : iLength);
    }
};

class UserDataSession {
public:
    explicit UserDataSession(FuzzInput& _input) : m_input(_input) {}

    void Run() {
        ScriptFakes(m_input, 2);
        Create();
        for (int i = 0; i < MAX_OPERATIONS && !m_input.Empty(); ++i)
            Step();
        m_players.DeleteAll(m_pFish);
    }

private:
    // A player from a valid 12-byte header, waiting for its area as user data on the play index.
    void Create() {
        FuzzCreation tCreation;
        tCreation.m_iStreamType = 0;
        tCreation.m_iHeadSize = 12;
        const int aiHeader[3] = {12, m_input.I32(), m_input.I32()};
        std::vector<unsigned char> vecHeader(sizeof(aiHeader));
        std::memcpy(vecHeader.data(), aiHeader, sizeof(aiHeader));
        tCreation.m_pcHeader = ExactBuffer(vecHeader, vecHeader.size());
        tCreation.m_pMainWindow = reinterpret_cast<void*>(0x1000);
        m_iPlayIndex = DecodePlayIndex(m_input);
        tCreation.m_iPlayIndex = m_iPlayIndex;
        tCreation.m_tParam.m_iInstallMode = m_input.I32();
        tCreation.m_tParam.m_iAlgoParam = m_input.I32();
        tCreation.m_tParam.m_iExtra = m_input.I32();
        tCreation.m_tDraw = DecodeDrawParam(m_input);
        // Overlays have nothing to do with user data, and a draw thread makes every deletion wait
        // for up to one draw period.
        tCreation.m_tDraw.m_iDrawEnable = 0;
        tCreation.m_qmapWindows = DecodeWindows(m_input);
        FuzzEngine()->PushResult("KW_CreatePlayerForSpecialNeeds", m_players.FreshId(m_input.I32(), true));
        tCreation.m_iPresetId = m_players.FreshId(-1, false);
        RunCreation(m_pFish, tCreation, m_players, &m_iId);
    }

    Delivery DecodeDelivery() {
        Delivery tDelivery;
        const std::uint8_t ucTarget = m_input.U8();
        tDelivery.m_iPlayIndex = ucTarget < 224 ? m_iPlayIndex : m_input.I32();
        const std::uint8_t ucType = m_input.U8();
        tDelivery.m_iDataType = ucType < 160 ? 9 : (ucType < 224 ? ucType % 12 : m_input.I32());
        const std::uint8_t ucLength = m_input.U8();
        size_t length = 0;
        if (ucLength < 128)
            length = 136 + (ucLength % 16) - 8; // around the record's size
        else if (ucLength < 192)
            length = ucLength % 64; // short
        else
            length = m_input.U16() % (MAX_PAYLOAD + 1); // anything
        tDelivery.m_blNull = ucLength == 255;
        tDelivery.m_vecPayload = m_input.Bytes(tDelivery.m_blNull ? 0 : length);
        return tDelivery;
    }

    void Step() {
        switch (m_input.U8() % 8) {
        case 0:
        case 1:
        case 2:
            DecodeDelivery().Deliver();
            break;
        case 3:
            m_pFish->FishPlayer_EnableFish(m_iId, m_input.Bool());
            break;
        case 4:
            Concurrent();
            break;
        case 5:
            ScriptFakes(m_input, 2);
            break;
        case 6: // the player goes and a new one takes its place
            m_pFish->FishPlayer_DeleteAllPlayer(m_iId);
            m_players.NoteDeleted(m_iId);
            Create();
            break;
        default:
            if (m_input.Bool())
                m_pFish->GetIsInitUserData(m_players.PickQueryId(m_input));
            else
                CLS_FishPlayer::FishPlayer_StopRevChUserDate(m_input.U8() < 224 ? m_iPlayIndex
                                                                                : m_input.I32());
            break;
        }
    }

    // Deliveries from an engine thread while the client switches correction or deletes the player.
    void Concurrent() {
        const bool blDelete = m_input.U8() >= 224;
        const int iCount = 1 + m_input.U8() % MAX_CONCURRENT_DELIVERIES;
        std::vector<Delivery> vecDeliveries;
        std::vector<bool> vecSwitches;
        for (int i = 0; i < iCount; ++i) {
            vecDeliveries.push_back(DecodeDelivery());
            vecSwitches.push_back(m_input.Bool());
        }
        std::thread engineThread([&vecDeliveries] {
            for (const Delivery& tDelivery : vecDeliveries)
                tDelivery.Deliver();
        });
        if (blDelete) {
            m_pFish->FishPlayer_DeleteAllPlayer(m_iId);
            m_players.NoteDeleted(m_iId);
        } else {
            for (bool blOn : vecSwitches)
                m_pFish->FishPlayer_EnableFish(m_iId, blOn);
        }
        engineThread.join();
        if (blDelete)
            Create();
    }

    FuzzInput& m_input;
    FuzzPlayers m_players;
    CLS_FishPlayer* m_pFish = CLS_FishPlayer::GetInstance();
    int m_iId = 0;
    int m_iPlayIndex = 0;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    FuzzInitialise();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* _pData, size_t _size) {
    FuzzBeginInput();
    FuzzInput input(_pData, _size);
    UserDataSession(input).Run();
    return 0;
}
