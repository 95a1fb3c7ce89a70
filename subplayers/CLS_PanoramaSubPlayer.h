// _ZEBFAULT_
// What the 180-degree and the 360-degree panoramas share: a horizontal drag turns the panorama
// about the fisheye axis, by the panorama's full angle for a drag across the whole window. The
// rotation lives in the engine only and is read anew for every drag. The two kinds differ only in
// their angle and in the class name their lines carry.
#ifndef CLS_PANORAMA_SUB_PLAYER_H
#define CLS_PANORAMA_SUB_PLAYER_H

#include "CLS_SubPlayer.h"

class CLS_PanoramaSubPlayer : public CLS_SubPlayer {
public:
    using CLS_SubPlayer::GetCorrectPara;
    using CLS_SubPlayer::Move;
    using CLS_SubPlayer::SetCorrectPara;

    // Rotates by x * angle / window width degrees; y is ignored. -1 for a bad rectangle or a failed
    // read, else the result of the write.
    int Move(int _iX, int _iY, STRUCT_FishWindowRect _rect) override;
    // The engine's panorama record (KW_PARA_PANORAMA, 8 bytes); -1 or the engine's result.
    int GetCorrectPara(STRUCT_PanoramaPara* _pPara) override;
    int SetCorrectPara(STRUCT_PanoramaPara* _pPara) override;

protected:
    CLS_PanoramaSubPlayer(int _iAngle, const char* _pcClass) : m_iAngle(_iAngle), m_pcClass(_pcClass) {}
    ~CLS_PanoramaSubPlayer() override;

private:
    // Reads or writes the panorama record through the engine function given (both have one type),
    // after the checks whose lines are given.
    int Para(CLS_ZebPlayer_SDK::PF_KW_GetFishEyeCorrectPara _pfAccess, const char* _pcNoPlayer,
             const char* _pcUnbound, STRUCT_PanoramaPara* _pPara);

    const int m_iAngle;          // degrees a drag across the whole window turns
    const char* const m_pcClass; // the class its lines name
};

#endif // CLS_PANORAMA_SUB_PLAYER_H
