// _ZEBFAULT_
// What the 180-degree and the 360-degree panoramas share: a horizontal drag turns the panorama
// about the fisheye axis, by the panorama's full angle for a drag across the whole window. The
// rotation lives in the engine only and is read anew for every drag. TTexts names the angle and
// the lines that the view writes (see CLS_180ViewSubPlayer.h).
#ifndef CLS_PANORAMA_SUB_PLAYER_H
#define CLS_PANORAMA_SUB_PLAYER_H

#include "CLS_SubPlayer.h"

#include "common/CLS_ZebLog.h"
#include "common/CLS_ZebMath.h"

template <typename TTexts> class CLS_PanoramaSubPlayer : public CLS_SubPlayer {
public:
    using CLS_SubPlayer::GetCorrectPara;
    using CLS_SubPlayer::Move;
    using CLS_SubPlayer::SetCorrectPara;

    // Rotates by x * angle / window width degrees; y is ignored. -1 for a bad rectangle or a failed
    // read, else the result of the write.
    int Move(int _iX, int _iY, STRUCT_FishWindowRect _rect) override;
    // The engine's panorama record (kind 3, 8 bytes); -1 or the engine's result.
    int GetCorrectPara(STRUCT_PanoramaPara* _pPara) override;
    int SetCorrectPara(STRUCT_PanoramaPara* _pPara) override;

protected:
    CLS_PanoramaSubPlayer() = default;
    ~CLS_PanoramaSubPlayer() override = default;
};

template <typename TTexts>
int CLS_PanoramaSubPlayer<TTexts>::Move(int _iX, int, STRUCT_FishWindowRect _rect) {
    if (_rect.m_iWidth <= 0 || _rect.m_iHeight <= 0) {
        CLS_ZebLog::Warning(TTexts::m_pcMoveRect, _rect.m_iWidth, " _rect.m_iHeight = ", _rect.m_iHeight,
                            " ]");
        return -1;
    }
    const int iDelta = CLS_ZebMath::MulDiv(_iX, TTexts::m_iAngle, _rect.m_iWidth);
    STRUCT_PanoramaPara tPara{};
    const int iRet = GetCorrectPara(&tPara);
    if (iRet < 0) {
        CLS_ZebLog::Warning(TTexts::m_pcMoveGetFail, iRet, " ]");
        return -1;
    }
    // Single-precision sum, truncated; the remainder keeps the sign of the sum on purpose, and any
    // fraction of the stored angle is dropped.
    const float fSum = static_cast<float>(iDelta) + tPara.m_fRotateAngle;
    const int iAngle = CLS_ZebMath::TruncToInt(fSum) % TTexts::m_iAngle;
    tPara.m_fRotateAngle = static_cast<float>(iAngle);
    return SetCorrectPara(&tPara);
}

template <typename TTexts> int CLS_PanoramaSubPlayer<TTexts>::GetCorrectPara(STRUCT_PanoramaPara* _pPara) {
    if (m_iMainPlayId < 0) {
        CLS_ZebLog::Warning(TTexts::m_pcGetMainId);
        return -1;
    }
    if (nullptr == CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara) {
        CLS_ZebLog::Warning(TTexts::m_pcGetUnbound);
        return -1;
    }
    return CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara(m_iMainPlayId, m_iSubPlayId, KW_PARA_PANORAMA, _pPara,
                                                       sizeof(STRUCT_PanoramaPara));
}

template <typename TTexts> int CLS_PanoramaSubPlayer<TTexts>::SetCorrectPara(STRUCT_PanoramaPara* _pPara) {
    if (m_iMainPlayId < 0) {
        CLS_ZebLog::Warning(TTexts::m_pcSetMainId);
        return -1;
    }
    if (nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara) {
        CLS_ZebLog::Warning(TTexts::m_pcSetUnbound);
        return -1;
    }
    return CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara(m_iMainPlayId, m_iSubPlayId, KW_PARA_PANORAMA, _pPara,
                                                       sizeof(STRUCT_PanoramaPara));
}

#endif // CLS_PANORAMA_SUB_PLAYER_H
