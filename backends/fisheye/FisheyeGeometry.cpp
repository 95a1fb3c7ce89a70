// Geometry of the equidistant fisheye lens and its pictures; see FisheyeGeometry.h and
// docs/geometry.md.
#include "FisheyeGeometry.h"

#include <algorithm>
#include <cmath>

namespace fisheye {

namespace {

// Tolerance on angles where a computed direction is compared with the lens's rim or a view's edge:
// a direction obtained from a point on the rim must count as visible.
constexpr double ANGLE_EPS = 1e-9;
constexpr double LENGTH_EPS = 1e-9;
constexpr int BISECTION_STEPS = 40;

double Dot(const STRUCT_Vec3& _a, const STRUCT_Vec3& _b) {
    return _a.m_dX * _b.m_dX + _a.m_dY * _b.m_dY + _a.m_dZ * _b.m_dZ;
}

STRUCT_Vec3 Cross(const STRUCT_Vec3& _a, const STRUCT_Vec3& _b) {
    return {_a.m_dY * _b.m_dZ - _a.m_dZ * _b.m_dY, _a.m_dZ * _b.m_dX - _a.m_dX * _b.m_dZ,
            _a.m_dX * _b.m_dY - _a.m_dY * _b.m_dX};
}

STRUCT_Vec3 Scaled(const STRUCT_Vec3& _a, double _d) {
    return {_a.m_dX * _d, _a.m_dY * _d, _a.m_dZ * _d};
}

STRUCT_Vec3 Sum(const STRUCT_Vec3& _a, const STRUCT_Vec3& _b) {
    return {_a.m_dX + _b.m_dX, _a.m_dY + _b.m_dY, _a.m_dZ + _b.m_dZ};
}

double Length(const STRUCT_Vec3& _a) {
    return std::sqrt(Dot(_a, _a));
}

STRUCT_Vec3 Normalized(const STRUCT_Vec3& _a) {
    const double dLength = Length(_a);
    return dLength > 0.0 ? Scaled(_a, 1.0 / dLength) : STRUCT_Vec3{0.0, 0.0, 1.0};
}

// Angle from the optical axis.
double AxisAngle(const STRUCT_Vec3& _tDir) {
    return std::atan2(std::hypot(_tDir.m_dX, _tDir.m_dY), _tDir.m_dZ);
}

// Azimuth (0 at north, +90 degrees at east) and elevation of a direction in the mount's world.
void WorldAngles(const STRUCT_MountBasis& _tBasis, const STRUCT_Vec3& _tDir, double* _pdAzimuth,
                 double* _pdElevation) {
    const double dEast = Dot(_tDir, _tBasis.m_tEast);
    const double dNorth = Dot(_tDir, _tBasis.m_tNorth);
    *_pdAzimuth = std::atan2(dEast, dNorth);
    *_pdElevation = std::atan2(Dot(_tDir, _tBasis.m_tUp), std::hypot(dEast, dNorth));
}

STRUCT_Vec3 FromWorldAngles(const STRUCT_MountBasis& _tBasis, double _dAzimuth, double _dElevation) {
    const STRUCT_Vec3 tHorizontal =
        Sum(Scaled(_tBasis.m_tEast, std::sin(_dAzimuth)), Scaled(_tBasis.m_tNorth, std::cos(_dAzimuth)));
    return Sum(Scaled(tHorizontal, std::cos(_dElevation)), Scaled(_tBasis.m_tUp, std::sin(_dElevation)));
}

double Wrap01(double _d) {
    const double dWrapped = _d - std::floor(_d);
    return dWrapped >= 1.0 ? 0.0 : dWrapped; // -1e-17 would round up to exactly 1
}

// Panorama and 180-degree view: y from the elevation. Ceiling and floor spread the lens's whole
// field over the height (the rim at the horizon side), the wall mount the elevations from +90 to
// -90 degrees.
double PanoramaY(n_Mount _eMount, double _dHalfField, const STRUCT_Vec3& _tDir, double _dElevation) {
    switch (_eMount) {
    case n_Mount::Ceiling:
        return 1.0 - AxisAngle(_tDir) / _dHalfField;
    case n_Mount::Floor:
        return AxisAngle(_tDir) / _dHalfField;
    case n_Mount::Wall:
    default:
        return 0.5 - _dElevation / PI;
    }
}

double PanoramaElevation(n_Mount _eMount, double _dHalfField, double _dY) {
    switch (_eMount) {
    case n_Mount::Ceiling:
        return (1.0 - _dY) * _dHalfField - PI / 2.0;
    case n_Mount::Floor:
        return PI / 2.0 - _dY * _dHalfField;
    case n_Mount::Wall:
    default:
        return (0.5 - _dY) * PI;
    }
}

// Point (a, b) of a view's picture at the border parameter _dS: 0 to 4 clockwise from the
// top-left corner, one unit per edge.
void BorderPoint(double _dS, double* _pdA, double* _pdB) {
    const double dS = std::fmod(_dS, 4.0);
    const int iEdge = std::min(static_cast<int>(dS), 3);
    const double dT = dS - iEdge;
    switch (iEdge) {
    case 0: // top, left to right
        *_pdA = -1.0 + 2.0 * dT;
        *_pdB = 1.0;
        break;
    case 1: // right, top to bottom
        *_pdA = 1.0;
        *_pdB = 1.0 - 2.0 * dT;
        break;
    case 2: // bottom, right to left
        *_pdA = 1.0 - 2.0 * dT;
        *_pdB = -1.0;
        break;
    default: // left, bottom to top
        *_pdA = -1.0;
        *_pdB = -1.0 + 2.0 * dT;
        break;
    }
}

// Feeds the sink, splitting polylines at the panorama's seam; stops for good once the sink is full.
class CLS_OutlineWriter {
public:
    CLS_OutlineWriter(CLS_PolylineSink& _sink, bool _blWraps) : m_sink(_sink), m_blWraps(_blWraps) {}

    void Begin() {
        if (m_blStopped || m_blOpen)
            return;
        if (!m_sink.BeginLine()) {
            m_blStopped = true;
            return;
        }
        ++m_iLines;
        m_blOpen = true;
        m_blHasLast = false;
    }

    void End() {
        if (!m_blOpen)
            return;
        m_sink.EndLine();
        m_blOpen = false;
    }

    void Emit(STRUCT_PlanePoint _tPoint) {
        if (!m_blOpen)
            return;
        if (m_blWraps && m_blHasLast && std::fabs(_tPoint.m_dX - m_tLast.m_dX) > 0.5) {
            // Cross the seam: unwrap the new point next to the last one and cut where x is 0 or 1.
            const double dUnwrapped = _tPoint.m_dX + (_tPoint.m_dX < m_tLast.m_dX ? 1.0 : -1.0);
            const double dEdge = dUnwrapped > m_tLast.m_dX ? 1.0 : 0.0;
            const double dT = (dEdge - m_tLast.m_dX) / (dUnwrapped - m_tLast.m_dX);
            const double dY = m_tLast.m_dY + dT * (_tPoint.m_dY - m_tLast.m_dY);
            Add({dEdge, dY});
            End();
            Begin();
            Add({1.0 - dEdge, dY});
        }
        Add(_tPoint);
    }

    int Lines() const { return m_iLines; }

private:
    void Add(STRUCT_PlanePoint _tPoint) {
        if (!m_blOpen)
            return;
        if (!m_sink.AddPoint(_tPoint)) {
            End();
            m_blStopped = true;
            return;
        }
        m_tLast = _tPoint;
        m_blHasLast = true;
    }

    CLS_PolylineSink& m_sink;
    bool m_blWraps;
    bool m_blOpen = false;
    bool m_blStopped = false;
    bool m_blHasLast = false;
    STRUCT_PlanePoint m_tLast{0.0, 0.0};
    int m_iLines = 0;
};

} // namespace

STRUCT_MountBasis MountBasis(n_Mount _eMount) {
    switch (_eMount) {
    case n_Mount::Ceiling: // looking down: north at the picture's top, east at its right
        return {{1.0, 0.0, 0.0}, {0.0, -1.0, 0.0}, {0.0, 0.0, -1.0}};
    case n_Mount::Floor: // looking up: the picture is seen from below, east at its left
        return {{-1.0, 0.0, 0.0}, {0.0, -1.0, 0.0}, {0.0, 0.0, 1.0}};
    case n_Mount::Wall:
    default: // looking ahead: north along the axis, up at the picture's top
        return {{1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}, {0.0, -1.0, 0.0}};
    }
}

bool IsValidArea(const STRUCT_Area& _tArea) {
    const double adValues[4] = {_tArea.m_dLeft, _tArea.m_dRight, _tArea.m_dTop, _tArea.m_dBottom};
    for (double d : adValues) {
        if (!(d >= 0.0 && d <= 1.0)) // also refuses NaN
            return false;
    }
    return _tArea.m_dLeft < _tArea.m_dRight && _tArea.m_dTop < _tArea.m_dBottom;
}

STRUCT_PlanePoint PlaneToPicture(const STRUCT_Area& _tArea, STRUCT_PlanePoint _tPlane) {
    return {_tArea.m_dLeft + _tPlane.m_dX * (_tArea.m_dRight - _tArea.m_dLeft),
            _tArea.m_dTop + _tPlane.m_dY * (_tArea.m_dBottom - _tArea.m_dTop)};
}

STRUCT_PlanePoint PictureToPlane(const STRUCT_Area& _tArea, STRUCT_PlanePoint _tPicture) {
    return {(_tPicture.m_dX - _tArea.m_dLeft) / (_tArea.m_dRight - _tArea.m_dLeft),
            (_tPicture.m_dY - _tArea.m_dTop) / (_tArea.m_dBottom - _tArea.m_dTop)};
}

STRUCT_Vec3 STRUCT_ViewFrame::Ray(double _dA, double _dB) const {
    return Normalized(
        Sum(m_tForward, Sum(Scaled(m_tRight, _dA * m_dTanHalfWidth), Scaled(m_tUp, _dB * m_dTanHalfHeight))));
}

bool CLS_FisheyeGeometry::SetLens(double _dField, double _dUsable) {
    if (!(_dField > 0.0 && _dField <= MAX_FIELD) || !(_dUsable > 0.0 && _dUsable <= 1.0))
        return false;
    m_dField = _dField;
    m_dUsable = _dUsable;
    return true;
}

bool CLS_FisheyeGeometry::PlaneToDirection(STRUCT_PlanePoint _tPlane, STRUCT_Vec3* _ptDir) const {
    const double dDx = (_tPlane.m_dX - 0.5) * 2.0;
    const double dDy = (_tPlane.m_dY - 0.5) * 2.0;
    const double dRadius = std::hypot(dDx, dDy);
    if (!(dRadius <= 1.0 + LENGTH_EPS))
        return false;
    const double dTheta = std::min(dRadius, 1.0) * HalfField();
    if (dRadius <= 0.0) {
        *_ptDir = {0.0, 0.0, 1.0};
        return true;
    }
    const double dSin = std::sin(dTheta) / dRadius;
    *_ptDir = {dSin * dDx, dSin * dDy, std::cos(dTheta)};
    return true;
}

bool CLS_FisheyeGeometry::DirectionToPlane(const STRUCT_Vec3& _tDir, STRUCT_PlanePoint* _ptPlane) const {
    const double dSide = std::hypot(_tDir.m_dX, _tDir.m_dY);
    const double dTheta = std::atan2(dSide, _tDir.m_dZ);
    if (!(dTheta <= HalfField() + ANGLE_EPS))
        return false;
    if (dSide <= 0.0) {
        *_ptPlane = {0.5, 0.5};
        return true;
    }
    const double dRadius = std::min(dTheta / HalfField(), 1.0) * 0.5;
    *_ptPlane = {0.5 + dRadius * _tDir.m_dX / dSide, 0.5 + dRadius * _tDir.m_dY / dSide};
    return true;
}

STRUCT_PlanePoint CLS_FisheyeGeometry::ClampToCircle(STRUCT_PlanePoint _tPlane, double _dRadius,
                                                     bool* _pblMoved) {
    const double dDx = _tPlane.m_dX - 0.5;
    const double dDy = _tPlane.m_dY - 0.5;
    const double dRadius = 2.0 * std::hypot(dDx, dDy);
    const double dLimit = std::max(_dRadius, 0.0);
    if (dRadius <= dLimit) {
        *_pblMoved = false;
        return _tPlane;
    }
    *_pblMoved = true;
    const double dScale = dLimit / dRadius;
    return {0.5 + dDx * dScale, 0.5 + dDy * dScale};
}

STRUCT_Vec3 CLS_FisheyeGeometry::ClampToField(const STRUCT_Vec3& _tDir, bool* _pblMoved) const {
    const STRUCT_Vec3 tDir = Normalized(_tDir);
    if (AxisAngle(tDir) <= HalfField()) {
        *_pblMoved = false;
        return tDir;
    }
    *_pblMoved = true;
    const double dSide = std::hypot(tDir.m_dX, tDir.m_dY);
    // Straight behind the lens every rim point is as near: take the picture's top.
    const double dCos = dSide > 0.0 ? tDir.m_dX / dSide : 0.0;
    const double dSin = dSide > 0.0 ? tDir.m_dY / dSide : -1.0;
    const double dRim = HalfField();
    return {std::sin(dRim) * dCos, std::sin(dRim) * dSin, std::cos(dRim)};
}

bool CLS_FisheyeGeometry::ToSpace(n_Mount _eMount, n_Space _eSpace, const STRUCT_Vec3& _tDir,
                                  STRUCT_PlanePoint* _ptOut) const {
    const STRUCT_Vec3 tDir = Normalized(_tDir);
    if (n_Space::Fisheye == _eSpace)
        return DirectionToPlane(tDir, _ptOut);
    if (!(AxisAngle(tDir) <= HalfField() + ANGLE_EPS))
        return false; // the lens does not see it, so no picture shows it
    if (n_Space::Lat == _eSpace) {
        const double dSpan = std::min(HalfField(), PI);
        const double dLongitude = std::atan2(tDir.m_dX, tDir.m_dZ);
        const double dLatitude = std::atan2(-tDir.m_dY, std::hypot(tDir.m_dX, tDir.m_dZ));
        if (!(std::fabs(dLongitude) <= dSpan + ANGLE_EPS))
            return false;
        *_ptOut = {0.5 + dLongitude / (2.0 * dSpan), 0.5 - dLatitude / PI};
        return true;
    }
    double dAzimuth = 0.0;
    double dElevation = 0.0;
    WorldAngles(MountBasis(_eMount), tDir, &dAzimuth, &dElevation);
    const double dY = PanoramaY(_eMount, HalfField(), tDir, dElevation);
    if (n_Space::Half == _eSpace) {
        if (!(std::fabs(dAzimuth) <= PI / 2.0 + ANGLE_EPS))
            return false;
        *_ptOut = {0.5 + dAzimuth / PI, dY};
        return true;
    }
    *_ptOut = {Wrap01(0.5 + dAzimuth / (2.0 * PI)), dY};
    return true;
}

bool CLS_FisheyeGeometry::FromSpace(n_Mount _eMount, n_Space _eSpace, STRUCT_PlanePoint _tIn,
                                    STRUCT_Vec3* _ptDir) const {
    if (!std::isfinite(_tIn.m_dX) || !std::isfinite(_tIn.m_dY))
        return false;
    switch (_eSpace) {
    case n_Space::Fisheye:
        return PlaneToDirection(_tIn, _ptDir);
    case n_Space::Lat: {
        const double dSpan = std::min(HalfField(), PI);
        const double dLongitude = (_tIn.m_dX - 0.5) * 2.0 * dSpan;
        const double dLatitude = (0.5 - _tIn.m_dY) * PI;
        *_ptDir = {std::cos(dLatitude) * std::sin(dLongitude), -std::sin(dLatitude),
                   std::cos(dLatitude) * std::cos(dLongitude)};
        return true;
    }
    case n_Space::Half:
        *_ptDir = FromWorldAngles(MountBasis(_eMount), (_tIn.m_dX - 0.5) * PI,
                                  PanoramaElevation(_eMount, HalfField(), _tIn.m_dY));
        return true;
    case n_Space::Panorama:
    default:
        *_ptDir = FromWorldAngles(MountBasis(_eMount), (Wrap01(_tIn.m_dX) - 0.5) * 2.0 * PI,
                                  PanoramaElevation(_eMount, HalfField(), _tIn.m_dY));
        return true;
    }
}

double CLS_FisheyeGeometry::HalfDiagonal(double _dZoom) {
    double dZoom = _dZoom;
    if (!(dZoom >= ZOOM_MIN)) // also NaN
        dZoom = ZOOM_MIN;
    dZoom = std::min(dZoom, ZOOM_MAX);
    return dZoom / ZOOM_MAX * WIDEST_HALF_DIAGONAL;
}

STRUCT_ViewFrame CLS_FisheyeGeometry::PtzView(n_Mount _eMount, STRUCT_PlanePoint _tPosition, double _dZoom,
                                              double _dAspect) const {
    bool blMoved = false;
    const STRUCT_PlanePoint tPosition = ClampToCircle(_tPosition, 1.0, &blMoved);
    STRUCT_Vec3 tForward{0.0, 0.0, 1.0};
    PlaneToDirection(tPosition, &tForward);
    tForward = Normalized(tForward);

    // Upright: the view's up is the world's up as seen across the view.
    const STRUCT_MountBasis tBasis = MountBasis(_eMount);
    STRUCT_Vec3 tUp = Sum(tBasis.m_tUp, Scaled(tForward, -Dot(tBasis.m_tUp, tForward)));
    if (Length(tUp) < LENGTH_EPS) {
        // Looking straight up or down: the top of the view points where the view came from, away
        // from the picture's centre (ceiling, floor), or to the north (wall).
        STRUCT_Vec3 tAway = tBasis.m_tNorth;
        if (n_Mount::Wall != _eMount) {
            const double dDx = tPosition.m_dX - 0.5;
            const double dDy = tPosition.m_dY - 0.5;
            const double dSide = std::hypot(dDx, dDy);
            tAway = dSide > 0.0 ? STRUCT_Vec3{dDx / dSide, dDy / dSide, 0.0} : STRUCT_Vec3{0.0, -1.0, 0.0};
        }
        if (Dot(tForward, tBasis.m_tUp) > 0.0)
            tAway = Scaled(tAway, -1.0);
        tUp = Sum(tAway, Scaled(tForward, -Dot(tAway, tForward)));
    }
    tUp = Normalized(tUp);

    const double dAspect = std::isfinite(_dAspect) && _dAspect > 0.0 ? _dAspect : 1.0;
    const double dTanDiagonal = std::tan(HalfDiagonal(_dZoom));
    const double dScale = dTanDiagonal / std::sqrt(1.0 + dAspect * dAspect);
    STRUCT_ViewFrame tView{};
    tView.m_tForward = tForward;
    tView.m_tUp = tUp;
    tView.m_tRight = Cross(tForward, tUp);
    tView.m_dTanHalfWidth = dScale * dAspect;
    tView.m_dTanHalfHeight = dScale;
    return tView;
}

STRUCT_PlanePoint CLS_FisheyeGeometry::FitPtzPosition(STRUCT_PlanePoint _tPosition, double _dZoom,
                                                      bool* _pblMoved) const {
    // Every ray of the view lies within the half diagonal of its axis, so the view stays inside
    // the usable circle exactly when its axis is at most (usable angle - half diagonal) off the
    // optical axis: a disc of the fisheye plane, whose nearest point is found along the radius.
    // A zoom of 0 (or less) stands for no view at all: only the point is kept inside.
    if (!(_dZoom > 0.0))
        return ClampToCircle(_tPosition, m_dUsable, _pblMoved);
    const double dAllowed = m_dUsable * HalfField() - HalfDiagonal(_dZoom);
    if (dAllowed < 0.0)
        return ClampToCircle(_tPosition, 0.0, _pblMoved);
    return ClampToCircle(_tPosition, dAllowed / HalfField(), _pblMoved);
}

int CLS_FisheyeGeometry::TraceOutline(const STRUCT_ViewFrame& _tView, n_Mount _eMount, n_Space _eSpace,
                                      int _iSamplesPerEdge, CLS_PolylineSink& _sink) const {
    const int iPerEdge = std::clamp(_iSamplesPerEdge, 1, MAX_SAMPLES_PER_EDGE);
    auto project = [&](double _dS, STRUCT_PlanePoint* _ptOut) {
        double dA = 0.0;
        double dB = 0.0;
        BorderPoint(_dS, &dA, &dB);
        return ToSpace(_eMount, _eSpace, _tView.Ray(dA, dB), _ptOut);
    };
    CLS_OutlineWriter writer(_sink, n_Space::Panorama == _eSpace);
    bool blLastVisible = false;
    double dLastS = 0.0;
    const int iSamples = 4 * iPerEdge;
    for (int i = 0; i <= iSamples; ++i) {
        const double dS = static_cast<double>(i) / iPerEdge;
        STRUCT_PlanePoint tPoint{};
        const bool blVisible = project(dS, &tPoint);
        if (i > 0 && blVisible != blLastVisible) {
            // The border leaves or enters the picture between two samples: find where.
            double dVisibleS = blLastVisible ? dLastS : dS;
            double dHiddenS = blLastVisible ? dS : dLastS;
            for (int k = 0; k < BISECTION_STEPS; ++k) {
                const double dMid = 0.5 * (dVisibleS + dHiddenS);
                STRUCT_PlanePoint tMid{};
                if (project(dMid, &tMid))
                    dVisibleS = dMid;
                else
                    dHiddenS = dMid;
            }
            STRUCT_PlanePoint tEdge{};
            project(dVisibleS, &tEdge);
            if (blLastVisible) {
                writer.Emit(tEdge);
                writer.End();
            } else {
                writer.Begin();
                writer.Emit(tEdge);
            }
        }
        if (blVisible) {
            writer.Begin(); // no-op while a polyline is open
            writer.Emit(tPoint);
        }
        blLastVisible = blVisible;
        dLastS = dS;
    }
    writer.End();
    return writer.Lines();
}

} // namespace fisheye
