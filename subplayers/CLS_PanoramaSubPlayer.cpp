// _ZEBFAULT_
#include "CLS_PanoramaSubPlayer.h"

#include "common/CLS_ZebLog.h"
#include "common/CLS_ZebMath.h"

CLS_PanoramaSubPlayer::~CLS_PanoramaSubPlayer() = default;

int CLS_PanoramaSubPlayer::Move(int _iX, int, STRUCT_FishWindowRect _rect) {
    if (_rect.m_iWidth <= 0 || _rect.m_iHeight <= 0) {
        CLS_ZebLog::WarningOf(
            m_pcClass, "Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ", _rect.m_iWidth,
            " _rect.m_iHeight = ", _rect.m_iHeight, " ]");
        return -1;
    }
    const int iDelta = CLS_ZebMath::MulDiv(_iX, m_iAngle, _rect.m_iWidth);
    STRUCT_PanoramaPara tPara{};
    const int iRet = GetCorrectPara(&tPara);
    if (iRet < 0) {
        CLS_ZebLog::WarningOf(m_pcClass, "Move GetCorrectPara fail iRet = ", iRet, " ]");
        return -1;
    }
    // Single-precision sum, truncated; the remainder keeps the sign of the sum on purpose, and any
    // fraction of the stored angle is dropped.
    const float fSum = static_cast<float>(iDelta) + tPara.m_fRotateAngle;
    const int iAngle = CLS_ZebMath::TruncToInt(fSum) % m_iAngle;
    tPara.m_fRotateAngle = static_cast<float>(iAngle);
    return SetCorrectPara(&tPara);
}

int CLS_PanoramaSubPlayer::GetCorrectPara(STRUCT_PanoramaPara* _pPara) {
    return Para(CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara, "GetCorrectPara m_iMainPlayId < 0 ]",
                "GetCorrectPara nullptr == CLS_ZebPlayer_SDK::KW_GetFishEyeCorrectPara ]", _pPara);
}

int CLS_PanoramaSubPlayer::SetCorrectPara(STRUCT_PanoramaPara* _pPara) {
    return Para(CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara, "SetCorrectPara m_iMainPlayId < 0 ]",
                "SetCorrectPara nullptr == CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectPara ]", _pPara);
}

int CLS_PanoramaSubPlayer::Para(CLS_ZebPlayer_SDK::PF_KW_GetFishEyeCorrectPara _pfAccess,
                                const char* _pcNoPlayer, const char* _pcUnbound,
                                STRUCT_PanoramaPara* _pPara) {
    if (CLS_ZebLog::RefuseOf(m_pcClass,
                             {{m_iMainPlayId < 0, _pcNoPlayer}, {nullptr == _pfAccess, _pcUnbound}}) < 0)
        return -1;
    return _pfAccess(m_iMainPlayId, m_iSubPlayId, KW_PARA_PANORAMA, _pPara, sizeof(STRUCT_PanoramaPara));
}
