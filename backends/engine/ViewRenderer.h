// The per-view picture computation of the engine: a picture in, one view's picture out.
#ifndef KORVANE_VIEW_RENDERER_H
#define KORVANE_VIEW_RENDERER_H

#include "RenderTarget.h"
#include "YuvRemap.h"
#include "abi/KorvaneContract.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace korvane {

// A decoded picture: the decoder's own planes where the renderers read them (4:2:0, 4:2:2 and NV12,
// either range), else RGB, 3 bytes a pixel, rows top to bottom without padding. Copies share the
// planes, which live as long as the last copy.
struct Frame {
    int m_iWidth = 0;
    int m_iHeight = 0;
    std::vector<std::uint8_t> m_vecRgb;    // without planes
    fisheye::STRUCT_YuvImage m_tPlanes;    // with planes
    std::shared_ptr<const void> m_pPlanes; // what holds the planes (the decoder's picture)
    bool HasPlanes() const { return m_pPlanes != nullptr; }
};

// View kinds: the correction type of the view's set-up record.
enum n_ViewKind : int {
    n_ViewKind_Source = KW_CORRECT_SOURCE,   // the picture as decoded
    n_ViewKind_PTZ = KW_CORRECT_PTZ,         // perspective cut-out at a position and zoom
    n_ViewKind_180 = KW_CORRECT_180,         // 180-degree panorama
    n_ViewKind_360 = KW_CORRECT_360,         // 360-degree panorama
    n_ViewKind_LAT = KW_CORRECT_LAT,         // latitude/longitude view
    n_ViewKind_Fisheye = KW_CORRECT_FISHEYE, // the whole fisheye circle
};

// What a renderer needs to know of one view, rebuilt by the engine for every picture (see
// MakeViewParams in ViewParamsBuilder.h). The area is 0 to 10000 of the source picture's width and
// height; the PTZ position is 0 to 10000 of the fisheye circle's bounding box (the area), as the
// correction algorithm gives it.
struct ViewParams {
    int m_iKind = n_ViewKind_Source; // the set-up record's int at byte 8; the main window is a source view
    int m_iMountMode = 0;            // mounting mode, the set-up record's int at byte 4
    int m_iPtzX = 5000;              // PTZ view centre (kind 1 parameters, bytes 8 and 12), 0..10000
    int m_iPtzY = 5000;
    int m_iPtzZoom = 10000;      // PTZ zoom (kind 1 parameters, byte 16), 10000 = 1.0, at least 1
    float m_fRotateAngle = 0.0f; // panorama rotation in degrees (kind 3 parameters), finite
    int m_iAreaLeft = 0;         // the fisheye circle's bounding box: the whole-picture set-up's
    int m_iAreaTop = 0;          // area while that correction is enabled with a valid one, else the
    int m_iAreaRight = 10000;    // area found in the pictures, else the whole picture; always
    int m_iAreaBottom = 10000;   // 0 <= left < right <= 10000 and 0 <= top < bottom <= 10000
    int m_iExtra = 0;            // the set-up record's int at byte 80
};

// Computes one view's picture. One renderer belongs to one view and is only called on the
// decoding thread of the view's player, so it may keep state (tables) between pictures.
class CLS_ViewRenderer {
public:
    virtual ~CLS_ViewRenderer() = default;
    // Fills the whole of _tDst, in its pixel format, from _tSrc (both non-empty).
    virtual void Render(const Frame& _tSrc, const ViewParams& _tParams, const STRUCT_TargetBuffer& _tDst) = 0;
    // Draws the view straight into the window _tWindow and shows it; false (nothing shown) when this
    // renderer does not or cannot, and the engine then calls Render with the window's buffer.
    virtual bool RenderToWindow(const Frame&, const ViewParams&, const STRUCT_NativeWindow&) { return false; }
};

// The first renderer: the source picture scaled to the target (nearest pixel), for every kind; also
// what the dewarping renderer shows for sizes its tables refuse.
class CLS_CopyRenderer : public CLS_ViewRenderer {
public:
    void Render(const Frame& _tSrc, const ViewParams& _tParams, const STRUCT_TargetBuffer& _tDst) override;
};

// The dewarping renderer: every kind computed from the shared fisheye geometry through remap tables
// that are rebuilt only when the view's parameters or the sizes change; bilinear, spread over the
// engine's worker pool (backends/engine/dewarp). Pictures with planes are remapped from them and
// converted pixel by pixel into the target's format; RGB pictures are remapped as they are.
class CLS_DewarpRenderer : public CLS_ViewRenderer {
public:
    CLS_DewarpRenderer();
    ~CLS_DewarpRenderer() override;
    void Render(const Frame& _tSrc, const ViewParams& _tParams, const STRUCT_TargetBuffer& _tDst) override;

private:
    struct STRUCT_Table;
    std::unique_ptr<STRUCT_Table> m_pTable;
    fisheye::CLS_YuvRemap m_yuv;
    // The view in RGB for targets of another pixel format, kept across pictures.
    std::vector<std::uint8_t> m_vecRgb;
};

// The view's parameters for the dewarping of an output of _iWidth x _iHeight pixels.
fisheye::STRUCT_ViewParams DewarpParams(const ViewParams& _tParams, int _iWidth, int _iHeight);

// The renderer that the engine gives a new view of kind _iKind: the one KORVANE_RENDERER selects
// (RendererChoice.h), the dewarping one or the GL one.
std::unique_ptr<CLS_ViewRenderer> CreateViewRenderer(int _iKind);

} // namespace korvane

#endif // KORVANE_VIEW_RENDERER_H
