// _ZEBFAULT_
// A virtual pan/tilt/zoom cut-out of the fisheye picture. The engine renders it from a small
// position-and-zoom record that the view reads and writes; the view turns the client's drags,
// wheel and buttons into new positions and keeps the outline of the cut-out inside the fisheye
// picture for the main player's draw thread.
//
// Positions use the normalised plane (0 to 10000 per axis, the circle's centre at 5000, 5000).
// The stored position (x, y, zoom at bytes 48, 52, 56 of m_tCorrectSetup) and the centre
// (m_dCenterX/Y) follow the engine: they change only after the engine accepted a new position.
#ifndef CLS_PTZ_SUB_PLAYER_H
#define CLS_PTZ_SUB_PLAYER_H

#include "CLS_SubPlayer.h"

#include "abi/ZebAlgoRecords.h"

#include <QReadWriteLock>
#include <QVector>

class CLS_PTZSubPlayer : public CLS_SubPlayer {
public:
    CLS_PTZSubPlayer() = default;
    ~CLS_PTZSubPlayer() override;

    using CLS_SubPlayer::GetCorrectPara;
    using CLS_SubPlayer::SetCorrectPara;

    int CreatePlayer(void*& _pfcuHandle, int _iMainPlayerId, const STRUCT_CorrectSetup* _pParam,
                     void* _pWindow, int* _piSubPlayerId) override;
    int DeletePlayer() override;
    // A copy of the current outline polylines (read from the draw thread); 0.
    int GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>& _qvecData) override;
    // Caches the set-up, keeps the algorithm handle and builds the first outline.
    int InitPTZDraw(void*& _pfcuHandle, const STRUCT_CorrectSetup* _pParam, int _iDrawType) override;
    // Window drag by (x, y) window pixels.
    int Move(int _iX, int _iY, STRUCT_FishWindowRect _rect) override;
    // Drag of the outline inside the fisheye window, from start to end point.
    int Move(const STRUCT_CtlPointParam& _tPoint, STRUCT_FishWindowRect _rect) override;
    // Mouse wheel: five zoom units per step, a positive step lowering the zoom value.
    int Zoom(int _iSteps) override;
    // Direction and zoom buttons; 1 when the engine was left alone because the point is unchanged.
    int PTZCtl(const STRUCT_CtlParam& _tParam, n_PTZCtlCmd _ePTZCmd) override;
    // The engine's PTZ record (kind 1, 32 bytes); -1 or the engine's result.
    int GetCorrectPara(STRUCT_PTZCorrectPara* _pPara) override;
    // Rebuilds the outline, maps the position into the fisheye picture and writes it to the engine.
    // -2 when not forced and the mapped point equals the last accepted one.
    int SetCorrectPara(STRUCT_PTZCorrectPara* _pPara, bool _blForce) override;

protected:
    // Moves the centre along the fisheye circle: angleStep 10000 is half a turn, radiusStep is
    // added to the radius, which never falls below 10.
    int RotatePoint(double* _pdOutX, double* _pdOutY, int _iAngleStep, int _iRadiusStep) const;

    // Maps _piRequest (x, y, zoom, type value) from space _iFrom to space _iTo through the algorithm.
    // 0 and _piResult written, or -1 / the algorithm's negative result with _piResult untouched.
    int CoordSwitch(int _iFrom, int _iTo, int* _piRequest, int* _piResult);
    // Converts a window point into the PTZ space; 0 or -1.
    int GetFishPoint(const int* _piX, const int* _piY, STRUCT_FishWindowRect _rect, int* _piOutX,
                     int* _piOutY);

    // Outline builders: initial ones from a set-up record, rebuilds from a point record
    // {32, x, y, 0, 0, zoom, width, height}. Each appends to m_qvecDrawData.
    int SetRectDraw(void*& _pfcuHandle, const STRUCT_CorrectSetup* _pParam);
    int SetFecDraw(void*& _pfcuHandle, const STRUCT_CorrectSetup* _pParam);
    int SetRectDraw(const int* _piPoint);
    int SetFecDraw(const int* _piPoint);

    QVector<QVector<STRUCT_DrawPoint>> m_qvecDrawData; // current outline polylines
    int m_iDrawType = n_DrawType_Fec;                  // outline kind, set by InitPTZDraw
    QReadWriteLock m_qrwlockDrawData;                  // guards m_qvecDrawData
    QReadWriteLock m_qrwlockFishPoint;                 // guards m_fFishPointX/Y
    float m_fFishPointX = 0.0f; // fisheye point (0 to 1) of the centre at the last accepted write
    float m_fFishPointY = 0.0f;

private:
    // ZebAlgo_FCU_CorrectPoint for a point of a view of _iCorrectType; logs its failure.
    int CorrectPoint(int _iCorrectType, int _iZoom, int _iTypeValue, STRUCT_FcuPoint _tIn,
                     STRUCT_FcuPoint* _ptOut);
    // Runs ZebAlgo_FCU_Process on a filled outline request and appends the polylines.
    int BuildFecOutline(const STRUCT_FcuViewParam& _tRequest);
    // Appends the clipped 1000-unit square around (x, y).
    void AppendRect(int _iX, int _iY);
    void AppendPolyline(QVector<STRUCT_DrawPoint>&& _qvecLine);
    void ClearDrawData();
    // The outline request common to both fisheye builds.
    STRUCT_FcuViewParam OutlineRequest(float _fX, float _fY, int _iZoom, int _iWidth, int _iHeight,
                                       int _iExtra) const;
    // Stores a new position into the stored set-up copy.
    void StorePosition(int _iX, int _iY);
};

#endif // CLS_PTZ_SUB_PLAYER_H
