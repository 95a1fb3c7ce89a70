// Geometry of an equidistant fisheye lens and of the pictures made from it: the fisheye picture
// itself, the 360-degree panorama, the 180-degree view, the longitude/latitude (LAT) view and the
// PTZ views (perspective cut-outs). Shared by the correction algorithm and the open player engine,
// so that the outlines the algorithm draws and the pictures the engine renders agree.
//
// Frames and units (docs/geometry.md has the figures):
//   - Fisheye plane: the bounding box of the lens's image circle, 0 to 1 on each axis, x to the
//     right and y downwards; the circle's centre is (0.5, 0.5) and its radius 0.5.
//   - Camera frame: X to the right of the picture, Y down the picture, Z out of the lens along the
//     optical axis (a right-handed frame). Directions are unit vectors in this frame.
//   - Lens: equidistant, the distance from the circle's centre is proportional to the angle from
//     the optical axis; the rim of the circle is at half the lens's field of view.
//   - Mount: sets where the world's up is. Wall (1): optical axis horizontal, up is the top of the
//     picture. Ceiling (2): looking straight down. Floor (3): looking straight up.
// Nothing here allocates, locks or keeps state beyond the lens set-up, so it is safe to share
// between threads once configured.
#ifndef FISHEYE_GEOMETRY_H
#define FISHEYE_GEOMETRY_H

namespace fisheye {

constexpr double PI = 3.14159265358979323846;

struct STRUCT_Vec3 {
    double m_dX;
    double m_dY;
    double m_dZ;
};

// A point of one of the pictures, as fractions of its width and height.
struct STRUCT_PlanePoint {
    double m_dX;
    double m_dY;
};

enum class n_Mount : int {
    Wall = 1,
    Ceiling = 2,
    Floor = 3,
};

// The pictures a direction can be shown in.
enum class n_Space : int {
    Fisheye,  // the lens's picture (the fisheye plane)
    Panorama, // 360 degrees: x azimuth, y elevation
    Half,     // 180 degrees: the half of the panorama that faces the picture's top (wall: the axis)
    Lat,      // longitude/latitude about the picture's vertical axis, poles at its top and bottom
};

// The world's horizontal and vertical directions of a mount, in the camera frame.
struct STRUCT_MountBasis {
    STRUCT_Vec3 m_tEast;  // azimuth +90 degrees
    STRUCT_Vec3 m_tNorth; // azimuth 0: the top of the picture (wall: the optical axis)
    STRUCT_Vec3 m_tUp;
};
STRUCT_MountBasis MountBasis(n_Mount _eMount);

// The part of the source picture that holds the image circle (its bounding box), as fractions of
// the source picture. Maps between the fisheye plane and the source picture.
struct STRUCT_Area {
    double m_dLeft;
    double m_dRight;
    double m_dTop;
    double m_dBottom;
};
bool IsValidArea(const STRUCT_Area& _tArea);
STRUCT_PlanePoint PlaneToPicture(const STRUCT_Area& _tArea, STRUCT_PlanePoint _tPlane);
STRUCT_PlanePoint PictureToPlane(const STRUCT_Area& _tArea, STRUCT_PlanePoint _tPicture);

// A perspective camera aimed along m_tForward; m_tRight and m_tUp span its picture. A point of its
// picture at (a, b), both -1 to 1 with a to the right and b upwards, looks along
// m_tForward + a * m_dTanHalfWidth * m_tRight + b * m_dTanHalfHeight * m_tUp.
struct STRUCT_ViewFrame {
    STRUCT_Vec3 m_tForward;
    STRUCT_Vec3 m_tRight;
    STRUCT_Vec3 m_tUp;
    double m_dTanHalfWidth;
    double m_dTanHalfHeight;

    STRUCT_Vec3 Ray(double _dA, double _dB) const; // unit vector
};

// Receives the polylines of an outline, point by point.
class CLS_PolylineSink {
public:
    // A new polyline starts; false when no further polyline fits (tracing stops).
    virtual bool BeginLine() = 0;
    // False when the point does not fit (tracing stops).
    virtual bool AddPoint(STRUCT_PlanePoint _tPoint) = 0;
    virtual void EndLine() = 0;

protected:
    ~CLS_PolylineSink() = default;
};

class CLS_FisheyeGeometry {
public:
    static constexpr double DEFAULT_FIELD = PI; // 180 degrees
    static constexpr double MAX_FIELD = 1.5 * PI;
    static constexpr double ZOOM_MIN = 0.055;
    static constexpr double ZOOM_MAX = 1.5;
    static constexpr double WIDEST_HALF_DIAGONAL = PI / 3.0; // 120 degrees across at ZOOM_MAX
    static constexpr int MAX_SAMPLES_PER_EDGE = 600;

    // A 180-degree lens whose whole circle is usable.
    CLS_FisheyeGeometry() = default;
    // _dField: the lens's field of view in radians, (0, MAX_FIELD]; _dUsable: the radius of the
    // usable circle as a fraction of the image circle's radius, (0, 1]. False (and no change) when
    // either is out of range.
    bool SetLens(double _dField, double _dUsable);
    double Field() const { return m_dField; }
    double Usable() const { return m_dUsable; }
    double HalfField() const { return m_dField / 2.0; }

    // Fisheye plane <-> camera directions. PlaneToDirection fails outside the image circle;
    // DirectionToPlane fails for a direction beyond the lens's field.
    bool PlaneToDirection(STRUCT_PlanePoint _tPlane, STRUCT_Vec3* _ptDir) const;
    bool DirectionToPlane(const STRUCT_Vec3& _tDir, STRUCT_PlanePoint* _ptPlane) const;
    // The nearest point of the fisheye plane within _dRadius (a fraction of the circle's radius) of
    // the centre; *_pblMoved tells whether the point had to move.
    static STRUCT_PlanePoint ClampToCircle(STRUCT_PlanePoint _tPlane, double _dRadius, bool* _pblMoved);
    // The nearest direction inside the lens's field (the same azimuth in the picture, on the rim).
    STRUCT_Vec3 ClampToField(const STRUCT_Vec3& _tDir, bool* _pblMoved) const;

    // A direction in one of the pictures and back. ToSpace fails where the picture does not show
    // the direction (beyond the lens's field, or outside the 180-degree or LAT view). FromSpace
    // takes x and y from 0 to 1 (the panorama's x wraps around) and gives directions that may lie
    // beyond the lens's field.
    bool ToSpace(n_Mount _eMount, n_Space _eSpace, const STRUCT_Vec3& _tDir, STRUCT_PlanePoint* _ptOut) const;
    bool FromSpace(n_Mount _eMount, n_Space _eSpace, STRUCT_PlanePoint _tIn, STRUCT_Vec3* _ptDir) const;

    // PTZ views. The zoom (the library's zoom value / 10000) sets the view's diagonal field of view,
    // in proportion: half diagonal = zoom / ZOOM_MAX * WIDEST_HALF_DIAGONAL, the zoom clamped to
    // [ZOOM_MIN, ZOOM_MAX]: 4.4 degrees across at 0.055, 80 degrees at 1.0 (the library's starting
    // value), 120 degrees at 1.5. Smaller zoom values narrow the view (zoom in), so the library's
    // wheel step (a positive step lowers the value) zooms in.
    static double HalfDiagonal(double _dZoom);
    // The view aimed at the fisheye point _tPosition (clamped onto the image circle), upright in
    // the world of the mount, with width / height = _dAspect.
    STRUCT_ViewFrame PtzView(n_Mount _eMount, STRUCT_PlanePoint _tPosition, double _dZoom,
                             double _dAspect) const;
    // The nearest position to _tPosition at which the whole view (its circumscribed cone, so for
    // any aspect) stays inside the usable circle; the position itself when it already does, the
    // circle's centre when the view is too wide to fit anywhere. A zoom of 0 or less gives no view:
    // the position is only kept inside the usable circle. *_pblMoved tells whether it moved.
    STRUCT_PlanePoint FitPtzPosition(STRUCT_PlanePoint _tPosition, double _dZoom, bool* _pblMoved) const;
    // The border of the view's picture, _iSamplesPerEdge points per edge starting at its top-left
    // corner and going clockwise, projected into _eSpace. Parts the space does not show are left
    // out (each polyline ends where the border leaves the picture), and the panorama's polylines
    // are split where they cross its left/right seam. A border that stays visible is closed (its
    // first point repeated). Returns the number of polylines begun.
    int TraceOutline(const STRUCT_ViewFrame& _tView, n_Mount _eMount, n_Space _eSpace, int _iSamplesPerEdge,
                     CLS_PolylineSink& _sink) const;

private:
    double m_dField = DEFAULT_FIELD;
    double m_dUsable = 1.0;
};

} // namespace fisheye

#endif // FISHEYE_GEOMETRY_H
