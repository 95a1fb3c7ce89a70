// Pieces shared by the fuzz targets: a reader of the fuzz input, the decoding of creation
// arguments and window maps, scripted misbehaviour of the fakes, and the bookkeeping of the
// players an input creates so that every input ends with nothing left behind.
#ifndef FISHPLAYER_FUZZ_SUPPORT_H
#define FISHPLAYER_FUZZ_SUPPORT_H

#include "api/CLS_FishPlayer.h"
#include "fakes/FakeControl.h"

#include <QMap>
#include <QVector>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <vector>

// Reads the fuzz input front to back, little-endian; past its end every value reads as zero, so
// any input decodes and a seed can be written field by field.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* _pData, size_t _size) : m_pData(_pData), m_size(_size) {}

    bool Empty() const { return m_pos >= m_size; }
    std::uint8_t U8();
    std::uint16_t U16();
    std::int32_t I32();
    float F32(); // any bit pattern: NaN and infinities included
    bool Bool() { return (U8() & 1) != 0; }
    // Exactly _n bytes, zero-padded past the end of the input.
    std::vector<unsigned char> Bytes(size_t _n);

private:
    const std::uint8_t* m_pData;
    size_t m_size;
    size_t m_pos = 0;
};

// Called once per process: loads the library and the fakes and silences the library's log.
void FuzzInitialise();
// Called at the start of every input: forgets the fakes' journals and scripts and resets the play
// index, so that inputs do not depend on each other.
void FuzzBeginInput();

FakeEngineControl* FuzzEngine();
FakeAlgoControl* FuzzAlgo();

// A buffer of exactly _size bytes (never null, even for 0), so that any read past it is reported.
std::unique_ptr<unsigned char[]> ExactBuffer(const std::vector<unsigned char>& _vecBytes, size_t _size);

// The player ids an input has used. Every id handed to the library (scripted as the engine's play
// id, or preset in the client's id variable, which a stream type other than 0 keeps) is new within
// the input, so that no creation replaces a registered player; the input ends by deleting every
// id under which a player may have been registered.
class FuzzPlayers {
public:
    // The first id from _iWish upwards (wrapping) that this input has not used; it is now used.
    // With _blPlayId the id is one the engine could give: 0 or more.
    int FreshId(int _iWish, bool _blPlayId);
    // A creation has ended with *_pFishMainPlyerID == _iId; with _blCreated the call returned 0.
    void NoteCreation(int _iId, bool _blCreated);
    // A player under _iId has been deleted by the input itself.
    void NoteDeleted(int _iId);
    // An id for a per-player call: mostly one of the input's players, sometimes any value.
    int PickId(FuzzInput& _input) const;
    // An id whose registry entry is known to hold a player, or one of the two ids that no input
    // ever creates (for the query that remembers unknown ids, which must stay few).
    int PickQueryId(FuzzInput& _input) const;
    // Deletes every player the input may have registered.
    void DeleteAll(CLS_FishPlayer* _pFish);

    static constexpr int UNKNOWN_ID_1 = -777;
    static constexpr int UNKNOWN_ID_2 = 0x7ffffff0;

private:
    std::set<int> m_setUsed{UNKNOWN_ID_1, UNKNOWN_ID_2};
    std::vector<int> m_vecCandidates; // may be registered, in order of creation
    std::set<int> m_setCreated;       // registered for sure (creation returned 0), not deleted
};

// A correction type: mostly one of the six view kinds, sometimes any value.
int DecodeCorrectType(FuzzInput& _input);
// A play index: mostly 0 to 3, sometimes any value.
int DecodePlayIndex(FuzzInput& _input);
// A command: mostly 0 to _iNamed + 1 (the named values and two beyond), sometimes any value.
int DecodeCommand(FuzzInput& _input, int _iNamed);
// Draw parameters. Drawing is on in a quarter of them only: deleting a player whose draw thread
// runs waits for up to one 40 ms draw period, which would slow every input down.
STRUCT_FishDrawParam DecodeDrawParam(FuzzInput& _input);

// A window map: up to 8 entries, keys mostly correction types, up to 9 windows each.
QMap<int, QVector<void*>> DecodeWindows(FuzzInput& _input);

// Scripts up to _iMaxSteps misbehaviours of the fakes: results of engine and algorithm calls
// (any value; a null algorithm handle), output points of any float value, outlines.
void ScriptFakes(FuzzInput& _input, int _iMaxSteps);

// Every argument of a stream creation, decoded from the input.
struct FuzzCreation {
    STRUCT_FishEyeParam m_tParam{};
    STRUCT_FishDrawParam m_tDraw{};
    QMap<int, QVector<void*>> m_qmapWindows;
    int m_iStreamType = 0;
    int m_iHeadSize = 0;
    bool m_blNullHeader = false;
    std::unique_ptr<unsigned char[]> m_pcHeader; // at least min(size, 12) bytes
    void* m_pMainWindow = nullptr;
    bool m_blNullId = false;
    int m_iPresetId = 0; // the client's id variable before the call: new within the input
    int m_iPlayIndex = 0;
    bool m_blIsInitUserData = false;
    osd_TLDCSet m_tTLDSet{};
};

// Decodes a creation and scripts the engine's play id (a new one, or a failure code) for it.
FuzzCreation DecodeCreation(FuzzInput& _input, FuzzPlayers& _players);
// Runs it through the facade and notes the id; returns the facade's result and, in *_piId, the
// client's id variable after the call.
int RunCreation(CLS_FishPlayer* _pFish, FuzzCreation& _tCreation, FuzzPlayers& _players,
                int* _piId = nullptr);

#endif // FISHPLAYER_FUZZ_SUPPORT_H
