// _ZEBFAULT_
// The 180-degree panorama: a drag across the whole window turns it by 180 degrees.
#ifndef CLS_180_VIEW_SUB_PLAYER_H
#define CLS_180_VIEW_SUB_PLAYER_H

#include "CLS_PanoramaSubPlayer.h"

struct STRUCT_180ViewTexts {
    static constexpr int m_iAngle = 180;
    static constexpr const char* m_pcMoveRect =
        "[  CLS_180ViewSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ";
    static constexpr const char* m_pcMoveGetFail =
        "[  CLS_180ViewSubPlayer::Move GetCorrectPara fail iRet = ";
    static constexpr const char* m_pcGetMainId =
        "[  CLS_180ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]";
    static constexpr const char* m_pcGetUnbound =
        "[  CLS_180ViewSubPlayer::GetCorrectPara nullptr == CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara ]";
    static constexpr const char* m_pcSetMainId =
        "[  CLS_180ViewSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]";
    static constexpr const char* m_pcSetUnbound =
        "[  CLS_180ViewSubPlayer::SetCorrectPara nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara ]";
};

extern template class CLS_PanoramaSubPlayer<STRUCT_180ViewTexts>;

class CLS_180ViewSubPlayer : public CLS_PanoramaSubPlayer<STRUCT_180ViewTexts> {
public:
    CLS_180ViewSubPlayer() = default;
    ~CLS_180ViewSubPlayer() override;
};

#endif // CLS_180_VIEW_SUB_PLAYER_H
