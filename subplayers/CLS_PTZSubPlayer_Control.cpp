// _ZEBFAULT_
// PTZ view: window drag, outline drag, wheel and buttons. The three moving paths differ on
// purpose and must stay different:
//   - the window drag subtracts its step and mirrors it for mounting mode 2, the buttons add theirs
//     and mirror them for mode 3;
//   - the window drag takes the centre from the engine when a coordinate is <= 0, the buttons and
//     the outline drag when it is < 1.0;
//   - only the window drag maps its new point through CoordSwitch.
// Every path writes the centre and the stored position only after the engine accepted the write.
#include "CLS_PTZSubPlayer.h"

#include "common/CLS_ZebLog.h"
#include "common/CLS_ZebMath.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double PI = 3.14159265358979323846;
constexpr double PLANE_CENTRE = 5000.0;
constexpr double MIN_RADIUS = 10.0; // the view never collapses onto the circle's centre
constexpr double HALF_TURN_STEPS = 10000.0;
constexpr int ZOOM_MIN = 550;
constexpr int ZOOM_MAX = 15000;
constexpr int ZOOM_UNITS_PER_STEP = 5;
constexpr int POSITION_LIMIT = 10001;  // an outline drag may not place the centre at or beyond it
constexpr int MODE_FLAT = 1;           // mounting mode in which drags move the view flat
constexpr int MODE_MIRROR_DRAG = 2;    // mounting mode that mirrors the window drag
constexpr int MODE_MIRROR_BUTTONS = 3; // mounting mode that mirrors the buttons
constexpr int SETUP_TYPE_WINDOW_PLANE = CORRECT_TYPE_FISHEYE; // outline drag in window proportions

int ClampZoom(std::int64_t _llZoom) {
    return static_cast<int>(std::clamp<std::int64_t>(_llZoom, ZOOM_MIN, ZOOM_MAX));
}

} // namespace

int CLS_PTZSubPlayer::RotatePoint(double* _pdOutX, double* _pdOutY, int _iAngleStep, int _iRadiusStep) const {
    const double dDx = m_dCenterX - PLANE_CENTRE;
    const double dDy = m_dCenterY - PLANE_CENTRE;
    double dRadius = std::sqrt(dDx * dDx + dDy * dDy);
    double dAngle = 0.0;
    if (0.0 != dDy)
        dAngle = std::atan(dDx / dDy);
    else
        dAngle = dDx < 0.0 ? -PI / 2.0 : PI / 2.0;
    dRadius = std::max(dRadius + _iRadiusStep, MIN_RADIUS);
    const double dTurn = dAngle + (dDy < 0.0 ? PI : 0.0) + _iAngleStep * PI / HALF_TURN_STEPS;
    *_pdOutX = std::sin(dTurn) * dRadius + PLANE_CENTRE;
    *_pdOutY = std::cos(dTurn) * dRadius + PLANE_CENTRE;
    return 0;
}

int CLS_PTZSubPlayer::Move(int _iX, int _iY, STRUCT_FishWindowRect _rect) {
    if (_rect.m_iWidth < 1 || _rect.m_iHeight < 1) {
        CLS_ZebLog::Warning(
            "[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            _rect.m_iWidth, " _rect.m_iHeight = ", _rect.m_iHeight, " ]");
        return -1;
    }
    int iStepX = CLS_ZebMath::MulDiv(_iX, 10000, _rect.m_iWidth);
    int iStepY = CLS_ZebMath::MulDiv(_iY, 10000, _rect.m_iHeight);
    STRUCT_PTZCorrectPara tPara{};
    int iRet = GetCorrectPara(&tPara);
    if (iRet < 0) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ", iRet, " ]");
        return iRet;
    }
    if (m_dCenterX <= 0 || m_dCenterY <= 0) {
        m_dCenterX = tPara.iPTZPositionX;
        m_dCenterY = tPara.iPTZPositionY;
    }
    if (MODE_MIRROR_DRAG == m_iSetupMode) {
        iStepX = CLS_ZebMath::Negate(iStepX);
        iStepY = CLS_ZebMath::Negate(iStepY);
    }
    double dX = 0.0;
    double dY = 0.0;
    if (MODE_FLAT == m_iSetupMode) {
        dX = m_dCenterX - iStepX;
        dY = m_dCenterY - iStepY;
    } else {
        RotatePoint(&dX, &dY, iStepX, iStepY);
    }
    int aiRequest[4] = {CLS_ZebMath::TruncToInt(dX), CLS_ZebMath::TruncToInt(dY), tPara.iPTZZoom,
                        m_iSetupType};
    int aiMapped[2] = {0, 0};
    if (0 == CoordSwitch(FCU_SPACE_PTZ, FCU_SPACE_PTZ, aiRequest, aiMapped)) {
        dX = aiMapped[0];
        dY = aiMapped[1];
    } // a failed mapping keeps the unmapped point
    tPara.iPTZPositionX = CLS_ZebMath::TruncToInt(dX);
    tPara.iPTZPositionY = CLS_ZebMath::TruncToInt(dY);
    iRet = SetCorrectPara(&tPara, false);
    if (iRet < 0) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::Move SetCorrectPara fail iRet = ", iRet, " ]");
        return iRet;
    }
    m_dCenterX = dX;
    m_dCenterY = dY;
    StorePosition(CLS_ZebMath::TruncToInt(dX), CLS_ZebMath::TruncToInt(dY));
    return 0;
}

int CLS_PTZSubPlayer::Move(const STRUCT_CtlPointParam& _tPoint, STRUCT_FishWindowRect _rect) {
    if (_rect.m_iWidth < 1 || _rect.m_iHeight < 1) {
        CLS_ZebLog::Warning(
            "[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            _rect.m_iWidth, " _rect.m_iHeight = ", _rect.m_iHeight, " ]");
        return -1;
    }
    const bool blWindowPlane = SETUP_TYPE_WINDOW_PLANE == m_iSetupType;
    int iDx = 0;
    int iDy = 0;
    if (blWindowPlane) {
        iDx =
            CLS_ZebMath::MulDiv(CLS_ZebMath::Sub(_tPoint.m_iEndX, _tPoint.m_iStartX), 10000, _rect.m_iWidth);
        iDy =
            CLS_ZebMath::MulDiv(CLS_ZebMath::Sub(_tPoint.m_iEndY, _tPoint.m_iStartY), 10000, _rect.m_iHeight);
    } else {
        int iStartX = 0;
        int iStartY = 0;
        int iEndX = 0;
        int iEndY = 0;
        int iRet = GetFishPoint(&_tPoint.m_iStartX, &_tPoint.m_iStartY, _rect, &iStartX, &iStartY);
        if (0 == iRet)
            iRet = GetFishPoint(&_tPoint.m_iEndX, &_tPoint.m_iEndY, _rect, &iEndX, &iEndY);
        if (iRet < 0) {
            CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::Move GetFishPoint fail iRet = ", iRet, " ]");
            return iRet;
        }
        iDx = CLS_ZebMath::Sub(iEndX, iStartX);
        iDy = CLS_ZebMath::Sub(iEndY, iStartY);
    }
    STRUCT_PTZCorrectPara tPara{};
    int iRet = GetCorrectPara(&tPara);
    if (iRet < 0) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ", iRet, " ]");
        return iRet;
    }
    if (blWindowPlane || m_dCenterX < 1.0 || m_dCenterY < 1.0) {
        m_dCenterX = tPara.iPTZPositionX;
        m_dCenterY = tPara.iPTZPositionY;
    }
    const double dX = m_dCenterX + iDx;
    const double dY = m_dCenterY + iDy;
    const int iX = CLS_ZebMath::TruncToInt(dX);
    const int iY = CLS_ZebMath::TruncToInt(dY);
    // Only the upper bound is tested: a negative position goes to the engine on purpose.
    if (iX >= POSITION_LIMIT || iY >= POSITION_LIMIT) {
        if (blWindowPlane)
            CLS_ZebLog::Info(
                "[  CLS_PTZSubPlayer::Move param.iPTZPositionX is invalid || param.iPTZPositionY is "
                "invalid param.iPTZPositionX = ",
                iX, " param.iPTZPositionY = ", iY, " ]");
        else
            CLS_ZebLog::Info("[  tParam.iPTZPositionX is invalid ||  tParam.iPTZPositionY is invalid . "
                             "tParam.iPTZPositionX = ",
                             iX, " tParam.iPTZPositionY = ", iY, " ]");
        return -1;
    }
    tPara.iPTZPositionX = iX;
    tPara.iPTZPositionY = iY;
    iRet = SetCorrectPara(&tPara, false);
    if (iRet < 0)
        return iRet;
    m_dCenterX = dX;
    m_dCenterY = dY;
    StorePosition(iX, iY);
    return 0;
}

int CLS_PTZSubPlayer::Zoom(int _iSteps) {
    STRUCT_PTZCorrectPara tPara{};
    const int iRet = GetCorrectPara(&tPara);
    if (iRet < 0) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::Zoom GetCorrectPara fail iRet = ", iRet, " ]");
        return iRet;
    }
    tPara.iPTZZoom = ClampZoom(static_cast<std::int64_t>(tPara.iPTZZoom) -
                               static_cast<std::int64_t>(ZOOM_UNITS_PER_STEP) * _iSteps);
    // The outline is rebuilt from the stored zoom, so the new zoom is stored before the write and
    // put back when the engine refuses it.
    const int iStoredZoom = m_tCorrectSetup.m_iZoom;
    m_tCorrectSetup.m_iZoom = tPara.iPTZZoom;
    const int iSetRet = SetCorrectPara(&tPara, true);
    if (iSetRet < 0)
        m_tCorrectSetup.m_iZoom = iStoredZoom;
    return iSetRet;
}

int CLS_PTZSubPlayer::PTZCtl(const STRUCT_CtlParam& _tParam, n_PTZCtlCmd _ePTZCmd) {
    const int iH = _tParam.m_iX;
    const int iV = _tParam.m_iY;
    int iDx = 0;
    int iDy = 0;
    int iDz = 0;
    bool blForce = false;
    switch (_ePTZCmd) {
    case n_PTZCtlCmd_Up:
        iDy = CLS_ZebMath::Negate(iV);
        break;
    case n_PTZCtlCmd_Down:
        iDy = iV;
        break;
    case n_PTZCtlCmd_Left:
        iDx = CLS_ZebMath::Negate(iH);
        break;
    case n_PTZCtlCmd_Right:
        iDx = iH;
        break;
    case n_PTZCtlCmd_LeftUp:
        iDx = CLS_ZebMath::Negate(iH);
        iDy = CLS_ZebMath::Negate(iV);
        break;
    case n_PTZCtlCmd_RightUp:
        iDx = iH;
        iDy = CLS_ZebMath::Negate(iV);
        break;
    case n_PTZCtlCmd_LeftDown:
        iDx = CLS_ZebMath::Negate(iH);
        iDy = iV;
        break;
    case n_PTZCtlCmd_RightDown:
        iDx = iH;
        iDy = iV;
        break;
    case n_PTZCtlCmd_ZoomDec:
        iDz = CLS_ZebMath::Negate(_tParam.m_iZ);
        blForce = true; // a zoom always reaches the engine
        break;
    case n_PTZCtlCmd_ZoomInc:
        iDz = _tParam.m_iZ;
        blForce = true;
        break;
    default: // no step: the current position is written again
        break;
    }

    STRUCT_PTZCorrectPara tPara{};
    int iRet = GetCorrectPara(&tPara);
    if (iRet < 0) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::PTZCtl GetCorrectPara fail iRet = ", iRet, " ]");
        return iRet;
    }
    if (m_dCenterX < 1.0 || m_dCenterY < 1.0) {
        m_dCenterX = tPara.iPTZPositionX;
        m_dCenterY = tPara.iPTZPositionY;
    }
    if (MODE_MIRROR_BUTTONS == m_iSetupMode) {
        iDx = CLS_ZebMath::Negate(iDx);
        iDy = CLS_ZebMath::Negate(iDy);
    }
    double dX = 0.0;
    double dY = 0.0;
    if (MODE_FLAT == m_iSetupMode) {
        dX = m_dCenterX + iDx;
        dY = m_dCenterY + iDy;
    } else {
        RotatePoint(&dX, &dY, iDx, iDy);
    }
    const int iX = CLS_ZebMath::TruncToInt(dX);
    const int iY = CLS_ZebMath::TruncToInt(dY);
    tPara.iPTZPositionX = iX;
    tPara.iPTZPositionY = iY;
    tPara.iPTZZoom = ClampZoom(static_cast<std::int64_t>(tPara.iPTZZoom) + iDz);
    const int iZoom = tPara.iPTZZoom;
    iRet = SetCorrectPara(&tPara, blForce);
    if (-2 == iRet)
        return 1; // the same fisheye point: the engine was left alone, not an error
    if (iRet < 0) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet = ", iRet, " ]");
        return iRet;
    }
    m_dCenterX = dX;
    m_dCenterY = dY;
    StorePosition(iX, iY);
    m_tCorrectSetup.m_iZoom = iZoom;
    return 0;
}
