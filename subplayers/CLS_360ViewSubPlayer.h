// _ZEBFAULT_
// The 360-degree panorama: a drag across the whole window turns it by 360 degrees.
#ifndef CLS_360_VIEW_SUB_PLAYER_H
#define CLS_360_VIEW_SUB_PLAYER_H

#include "CLS_PanoramaSubPlayer.h"

struct STRUCT_360ViewTexts {
    static constexpr int m_iAngle = 360;
    static constexpr const char* m_pcMoveRect =
        "[  CLS_360ViewSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ";
    static constexpr const char* m_pcMoveGetFail =
        "[  CLS_360ViewSubPlayer::Move GetCorrectPara fail iRet = ";
    static constexpr const char* m_pcGetMainId =
        "[  CLS_360ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]";
    static constexpr const char* m_pcGetUnbound =
        "[  CLS_360ViewSubPlayer::GetCorrectPara nullptr == CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara ]";
    static constexpr const char* m_pcSetMainId =
        "[  CLS_360ViewSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]";
    static constexpr const char* m_pcSetUnbound =
        "[  CLS_360ViewSubPlayer::SetCorrectPara nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara ]";
};

extern template class CLS_PanoramaSubPlayer<STRUCT_360ViewTexts>;

class CLS_360ViewSubPlayer : public CLS_PanoramaSubPlayer<STRUCT_360ViewTexts> {
public:
    CLS_360ViewSubPlayer() = default;
    ~CLS_360ViewSubPlayer() override;
};

#endif // CLS_360_VIEW_SUB_PLAYER_H
