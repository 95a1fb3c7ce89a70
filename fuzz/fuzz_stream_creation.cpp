// Stream creation through the exported class with arbitrary arguments: header bytes and header
// sizes (the buffer always holds the min(size, 12) bytes the library may read, and may be longer
// or shorter than the size says otherwise), stream types, play index, the user-data flag and area,
// fisheye and draw parameters, window maps, null pointers, and an engine or algorithm that fails.
// Up to three creations per input; the input ends by deleting every player it made.
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    FuzzInitialise();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* _pData, size_t _size) {
    FuzzBeginInput();
    FuzzInput input(_pData, _size);
    FuzzPlayers players;
    CLS_FishPlayer* pFish = CLS_FishPlayer::GetInstance();
    for (int i = 0; i < 3 && (i == 0 || !input.Empty()); ++i) {
        ScriptFakes(input, 4);
        FuzzCreation tCreation = DecodeCreation(input, players);
        RunCreation(pFish, tCreation, players);
    }
    players.DeleteAll(pFish);
    return 0;
}
