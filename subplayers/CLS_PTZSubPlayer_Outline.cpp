// _ZEBFAULT_
// PTZ view: the outline of the cut-out inside the fisheye picture, as a fixed square marker or as
// the algorithm's curve. Each polyline is published by itself, under the write lock held only for
// its append, so the draw thread never waits for the algorithm.
#include "CLS_PTZSubPlayer.h"

#include "bindings/CLS_ZebAlgoFcu.h"
#include "common/CLS_ZebLog.h"
#include "common/CLS_ZebMath.h"

#include <QReadLocker>
#include <QWriteLocker>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

constexpr int RECT_HALF_SIDE = 500; // the square marker is a tenth of the picture wide
constexpr int PLANE_SIZE = 10000;
constexpr int OUTLINE_REQUEST_FIELD12 = 32;
constexpr int SETUP_EXTRA_DOUBLE_SIZE = 4; // set-up extra value under which the outline size doubles

float PlaneToUnit(int _iValue) {
    return static_cast<float>(_iValue / 10000.0);
}

std::int64_t OutlineKind(int _iSetupType) {
    switch (_iSetupType) {
    case CORRECT_TYPE_180:
        return FCU_OUTLINE_180;
    case CORRECT_TYPE_360:
        return FCU_OUTLINE_360;
    case CORRECT_TYPE_LAT:
        return FCU_OUTLINE_LAT;
    default: // CORRECT_TYPE_PTZ and anything else
        return FCU_OUTLINE_PTZ;
    }
}

} // namespace

// Readers get their own list (sharing the polylines, which are never changed once published), so
// the view's list is never shared and the control thread rebuilds it in place without allocating.
// Qt decides between in place and copy with an unordered look at the share count, so a list a
// reader could still share would have to be replaced by a fresh one on every append.
int CLS_PTZSubPlayer::GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>& _qvecData) {
    QReadLocker locker(&m_qrwlockDrawData);
    QVector<QVector<STRUCT_DrawPoint>> qvecCopy;
    qvecCopy.reserve(m_qvecDrawData.size());
    for (const QVector<STRUCT_DrawPoint>& qvecLine : qAsConst(m_qvecDrawData))
        qvecCopy.append(qvecLine);
    locker.unlock();
    _qvecData = std::move(qvecCopy);
    return 0;
}

void CLS_PTZSubPlayer::ClearDrawData() {
    QWriteLocker locker(&m_qrwlockDrawData);
    m_qvecDrawData.clear(); // keeps the storage
    if (m_qvecDrawData.capacity() < FCU_MAX_LINES)
        m_qvecDrawData.reserve(FCU_MAX_LINES); // the most polylines an outline has
}

void CLS_PTZSubPlayer::AppendPolyline(QVector<STRUCT_DrawPoint>&& _qvecLine) {
    QWriteLocker locker(&m_qrwlockDrawData);
    m_qvecDrawData.append(std::move(_qvecLine));
}

int CLS_PTZSubPlayer::InitPTZDraw(void*& _pfcuHandle, const STRUCT_CorrectSetup* _pParam, int _iDrawType) {
    if (nullptr == _pParam) { // every field below comes from the record
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::InitPTZDraw nullptr == param ]");
        return -1;
    }
    m_iSetupMode = _pParam->m_iInstallMode;
    m_iSetupType = _pParam->m_iCorrectType;
    m_iSetupExtra = _pParam->m_iExtra;
    m_pFcuHandle = _pfcuHandle;
    m_iDrawType = _iDrawType;
    ClearDrawData();
    if (n_DrawType_Fec == _iDrawType)
        return SetFecDraw(_pfcuHandle, _pParam);
    if (n_DrawType_Rect != _iDrawType)
        return 0;
    if (CORRECT_TYPE_360 != m_iSetupType)
        return SetRectDraw(_pfcuHandle, _pParam);
    // Under a 360-degree set-up the square marks the position as mapped into the panorama space.
    STRUCT_CorrectSetup tMapped = *_pParam;
    STRUCT_PTZCorrectPara tEngine{};
    GetCorrectPara(&tEngine); // unchecked: a failed read maps with zoom 0
    int aiRequest[4] = {_pParam->m_iPositionX, _pParam->m_iPositionY, tEngine.iPTZZoom, m_iSetupType};
    int aiMapped[2] = {_pParam->m_iPositionX, _pParam->m_iPositionY};
    CoordSwitch(FCU_SPACE_PTZ, FCU_SPACE_PANORAMA, aiRequest, aiMapped);
    tMapped.m_iPositionX = aiMapped[0];
    tMapped.m_iPositionY = aiMapped[1];
    return SetRectDraw(_pfcuHandle, &tMapped);
}

void CLS_PTZSubPlayer::AppendRect(int _iX, int _iY) {
    // Clipped at the picture's edges rather than moved.
    const float fX0 = PlaneToUnit(std::max(CLS_ZebMath::Sub(_iX, RECT_HALF_SIDE), 0));
    const float fX1 = PlaneToUnit(std::min(CLS_ZebMath::Add(_iX, RECT_HALF_SIDE), PLANE_SIZE));
    const float fY0 = PlaneToUnit(std::max(CLS_ZebMath::Sub(_iY, RECT_HALF_SIDE), 0));
    const float fY1 = PlaneToUnit(std::min(CLS_ZebMath::Add(_iY, RECT_HALF_SIDE), PLANE_SIZE));
    const STRUCT_DrawPoint atCorners[4] = {{fX0, fY0}, {fX1, fY0}, {fX1, fY1}, {fX0, fY1}};
    for (int i = 0; i < 4; ++i)
        AppendPolyline({atCorners[i], atCorners[(i + 1) % 4]});
}

int CLS_PTZSubPlayer::SetRectDraw(void*& _pfcuHandle, const STRUCT_CorrectSetup* _pParam) {
    if (nullptr == _pfcuHandle) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::SetRectDraw nullptr == _pfcuHandle ]");
        return -1;
    }
    m_pFcuHandle = _pfcuHandle;
    AppendRect(_pParam->m_iPositionX, _pParam->m_iPositionY);
    return 0;
}

int CLS_PTZSubPlayer::SetRectDraw(const int* _piPoint) {
    int iX = _piPoint[1];
    int iY = _piPoint[2];
    if (CORRECT_TYPE_FISHEYE == m_iSetupType) {
        STRUCT_FcuPoint tOut{};
        const int iRet = CorrectPoint(CORRECT_TYPE_FISHEYE, _piPoint[5], m_tCorrectSetup.m_iExtra,
                                      {PlaneToUnit(iX), PlaneToUnit(iY)}, &tOut);
        if (iRet < 0)
            return iRet;
        iX = CLS_ZebMath::TruncToInt(tOut.m_fX * 10000.0);
        iY = CLS_ZebMath::TruncToInt(tOut.m_fY * 10000.0);
    }
    AppendRect(iX, iY);
    return 0;
}

STRUCT_FcuViewParam CLS_PTZSubPlayer::OutlineRequest(float _fX, float _fY, int _iZoom, int _iWidth,
                                                     int _iHeight, int _iExtra) const {
    const bool blDouble = SETUP_EXTRA_DOUBLE_SIZE == _iExtra;
    STRUCT_FcuViewParam tRequest{};
    tRequest.m_iSize = sizeof(STRUCT_FcuViewParam);
    tRequest.m_iMode = m_iSetupMode;
    tRequest.m_iCorrectType = m_iSetupType;
    tRequest.m_iField12 = OUTLINE_REQUEST_FIELD12;
    tRequest.m_fX = _fX;
    tRequest.m_fY = _fY;
    tRequest.m_fZoom = PlaneToUnit(_iZoom);
    tRequest.m_iWidth = blDouble ? CLS_ZebMath::Add(_iWidth, _iWidth) : _iWidth;
    tRequest.m_iHeight = blDouble ? CLS_ZebMath::Add(_iHeight, _iHeight) : _iHeight;
    tRequest.m_llOutlineKind = OutlineKind(m_iSetupType);
    return tRequest;
}

int CLS_PTZSubPlayer::BuildFecOutline(const STRUCT_FcuViewParam& _tRequest) {
    // The algorithm writes its points into the caller's block and never allocates; the block is
    // released on every path by its owner.
    std::vector<STRUCT_FcuPoint> vecBlock(FCU_POINT_BLOCK_POINTS);
    STRUCT_FcuLineBuffer tLines{};
    tLines.m_atLines[0].m_pPoints = vecBlock.data();
    STRUCT_FcuProcessResult tResult{};
    tResult.m_iSize = sizeof(STRUCT_FcuProcessResult);
    tResult.m_pLineBuffer = &tLines;
    STRUCT_FcuViewParam tRequest = _tRequest;
    const int iRet = CLS_ZebAlgoFcu::ZebAlgo_FCU_Process(m_pFcuHandle, 0, &tRequest, &tResult);
    if (iRet < 0) {
        CLS_ZebLog::Warning(
            "[  CLS_PTZSubPlayer::SetFecDraw CLS_ZebAlgoFcu::ZebAlgo_FCU_Process fail iRet = ", iRet, " ]");
        return iRet;
    }
    if (tLines.iLineNum < 1) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::SetFecDraw iLineNum <= 0 ]");
        return -1;
    }
    // The buffer has room for FCU_MAX_LINES entries; a larger count is not read beyond it.
    const int iLines = std::min(tLines.iLineNum, FCU_MAX_LINES);
    // Points are read only inside the block handed over: a line that points elsewhere, or runs past
    // the block's end, is cut there (the algorithm promises to stay inside it).
    const std::uintptr_t uBlockBegin = reinterpret_cast<std::uintptr_t>(vecBlock.data());
    const std::uintptr_t uBlockEnd = uBlockBegin + vecBlock.size() * sizeof(STRUCT_FcuPoint);
    for (int i = 0; i < iLines; ++i) {
        const STRUCT_FcuLine& tLine = tLines.m_atLines[i];
        const std::uintptr_t uPoints = reinterpret_cast<std::uintptr_t>(tLine.m_pPoints);
        const bool blInBlock = uPoints >= uBlockBegin && uPoints < uBlockEnd &&
                               (uPoints - uBlockBegin) % sizeof(STRUCT_FcuPoint) == 0;
        const std::int64_t llRoom = blInBlock ? (uBlockEnd - uPoints) / sizeof(STRUCT_FcuPoint) : 0;
        const int iCount = static_cast<int>(
            std::min<std::int64_t>(std::min(tLine.m_iPointNum, FCU_MAX_POINTS_PER_LINE), llRoom));
        QVector<STRUCT_DrawPoint> qvecLine;
        qvecLine.reserve(std::max(iCount, 0));
        for (int k = 0; k < iCount; ++k)
            qvecLine.append({tLine.m_pPoints[k].m_fX, tLine.m_pPoints[k].m_fY});
        AppendPolyline(std::move(qvecLine));
    }
    return 0;
}

int CLS_PTZSubPlayer::SetFecDraw(void*& _pfcuHandle, const STRUCT_CorrectSetup* _pParam) {
    if (nullptr == _pfcuHandle) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::SetFecDraw nullptr == _pfcuHandle]");
        return -1;
    }
    if (nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Process) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::SetFecDraw CLS_ZebAlgoFcu::ZebAlgo_FCU_Process]");
        return -1;
    }
    m_pFcuHandle = _pfcuHandle;
    return BuildFecOutline(OutlineRequest(PlaneToUnit(_pParam->m_iPositionX),
                                          PlaneToUnit(_pParam->m_iPositionY), _pParam->m_iZoom,
                                          _pParam->m_iWidth, _pParam->m_iHeight, _pParam->m_iExtra));
}

int CLS_PTZSubPlayer::SetFecDraw(const int* _piPoint) {
    if (nullptr == m_pFcuHandle) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::SetFecDraw nullptr == m_pFcuHandle]");
        return -1;
    }
    if (nullptr == CLS_ZebAlgoFcu::ZebAlgo_FCU_Process) {
        CLS_ZebLog::Warning("[  CLS_PTZSubPlayer::SetFecDraw CLS_ZebAlgoFcu::ZebAlgo_FCU_Process]");
        return -1;
    }
    STRUCT_FcuPoint tMapped{};
    const int iRet = CorrectPoint(CORRECT_TYPE_PTZ, _piPoint[5], m_tCorrectSetup.m_iExtra,
                                  {PlaneToUnit(_piPoint[1]), PlaneToUnit(_piPoint[2])}, &tMapped);
    if (iRet < 0)
        return iRet;
    return BuildFecOutline(OutlineRequest(tMapped.m_fX, tMapped.m_fY, _piPoint[5], _piPoint[6], _piPoint[7],
                                          m_tCorrectSetup.m_iExtra));
}
