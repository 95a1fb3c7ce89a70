// _ZEBFAULT_
// PTZ view: coordinate switching between the view's plane (integers 0 to 10000) and the
// algorithm's spaces (floats 0 to 1).
#include "CLS_PTZSubPlayer.h"

#include "bindings/CLS_ZebAlgoFcu.h"
#include "common/CLS_ZebLog.h"
#include "common/CLS_ZebMath.h"

#include <algorithm>

namespace {

constexpr int PLANE_MAX_TRANSFORM = 9999; // the point transform takes coordinates below 1.0

} // namespace

int CLS_PTZSubPlayer::CorrectPoint(int _iCorrectType, int _iZoom, int _iTypeValue, STRUCT_FcuPoint _tIn,
                                   STRUCT_FcuPoint* _ptOut) {
    if (nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint ]");
        return -1;
    }
    STRUCT_FcuViewParam tRequest{};
    tRequest.m_iSize = sizeof(STRUCT_FcuViewParam);
    tRequest.m_iMode = m_iSetupMode;
    tRequest.m_iCorrectType = _iCorrectType;
    tRequest.m_fZoom = static_cast<float>(_iZoom / 10000.0);
    tRequest.m_iTypeValue = _iTypeValue;
    const int iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint(m_pFcuHandle, &tRequest, &_tIn, _ptOut);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint fail iRet = ", iRet,
            " ]");
        return iRet;
    }
    return 0;
}

int CLS_PTZSubPlayer::CoordSwitch(int _iFrom, int _iTo, int* _piRequest, int* _piResult) {
    if (nullptr == m_pFcuHandle) {
        // The text names CoordFETo360; it is the library's established wording.
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]");
        return -1;
    }
    // Both are required whichever one this call uses.
    if (nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform ]");
        return -1;
    }
    if (nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_CorrectPoint ]");
        return -1;
    }
    STRUCT_FcuPoint tOut{};
    if (FCU_SPACE_PTZ == _iFrom && FCU_SPACE_PTZ == _iTo) {
        const STRUCT_FcuPoint tIn = {static_cast<float>(_piRequest[0] / 10000.0),
                                     static_cast<float>(_piRequest[1] / 10000.0)};
        const int iRet = CorrectPoint(CORRECT_TYPE_PTZ, _piRequest[2], _piRequest[3], tIn, &tOut);
        if (iRet < 0)
            return iRet;
    } else {
        // The caller sees its request clamped, on purpose; there is no lower clamp.
        _piRequest[0] = std::min(_piRequest[0], PLANE_MAX_TRANSFORM);
        _piRequest[1] = std::min(_piRequest[1], PLANE_MAX_TRANSFORM);
        STRUCT_FcuPointTransformParam tRequest{};
        tRequest.m_iSize = sizeof(STRUCT_FcuPointTransformParam);
        tRequest.m_iMode = m_iSetupMode;
        tRequest.m_iType = m_iSetupType;
        tRequest.m_fX = static_cast<float>(_piRequest[0] / 10000.0);
        tRequest.m_fY = static_cast<float>(_piRequest[1] / 10000.0);
        tRequest.m_iFromSpace = _iFrom;
        tRequest.m_iToSpace = _iTo;
        tRequest.m_iZoom = _piRequest[2];
        tRequest.m_iTypeValue = _piRequest[3];
        const int iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform(m_pFcuHandle, &tRequest, &tOut);
        if (iRet < 0) {
            CLS_ZebLog::Warning(
                "[  CLS_PTZSubPlayer::CoordSwitch CLS_ZebAlgoFcu::ZebAlgo_FCU_Point_Transform fail iRet = ",
                iRet, " ]");
            return iRet;
        }
    }
    // Single-precision product, truncated toward zero.
    _piResult[0] = CLS_ZebMath::TruncToInt(tOut.m_fX * 10000.0f);
    _piResult[1] = CLS_ZebMath::TruncToInt(tOut.m_fY * 10000.0f);
    return 0;
}

int CLS_PTZSubPlayer::GetFishPoint(const int* _piX, const int* _piY, STRUCT_FishWindowRect _rect,
                                   int* _piOutX, int* _piOutY) {
    if (_rect.m_iWidth < 1 || _rect.m_iHeight < 1) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::GetFishPoint _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  "
                            "_rect.m_iWidth = ",
                            _rect.m_iWidth, " _rect.m_iHeight = ", _rect.m_iHeight, " ]");
        return -1;
    }
    int aiRequest[4] = {CLS_ZebMath::MulDiv(*_piX, 10000, _rect.m_iWidth),
                        CLS_ZebMath::MulDiv(*_piY, 10000, _rect.m_iHeight), 0, m_iSetupType};
    STRUCT_PTZCorrectPara tPara{};
    GetCorrectPara(&tPara); // unchecked: a failed read converts with zoom 0
    aiRequest[2] = tPara.iPTZZoom;
    int aiResult[2] = {0, 0};
    const int iRet = CoordSwitch(1 == m_iSetupMode ? FCU_SPACE_LAT : FCU_SPACE_PANORAMA, FCU_SPACE_PTZ,
                                 aiRequest, aiResult);
    if (iRet < 0) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet = ", iRet, " ]");
        return -1;
    }
    *_piOutX = aiResult[0];
    *_piOutY = aiResult[1];
    return 0;
}
