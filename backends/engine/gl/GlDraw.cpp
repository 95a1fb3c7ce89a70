// The GL state of a thread: a view's draw into a framebuffer or an X11 window; see GlThread.h.
#include "GlThread.h"

#include <cmath>
#include <cstring>

namespace korvane {

n_GlResult CLS_GlThread::Prepare(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                                 std::string* _pstrWhy) {
    const fisheye::STRUCT_YuvImage& tPlanes = _tFrame.m_tPlanes;
    bool blPlanes = true;
    for (int i = 0; _tFrame.HasPlanes() && i < (fisheye::n_YuvLayout::Nv12 == tPlanes.m_eLayout ? 2 : 3); ++i)
        blPlanes = blPlanes && tPlanes.m_apcPlane[i] && tPlanes.m_aiStride[i] > 0;
    fisheye::CLS_FisheyeGeometry lens;
    // What the CPU renderer's tables refuse, it shows by itself.
    if (!blPlanes || _tFrame.m_iWidth < 1 || _tFrame.m_iHeight < 1 || _tView.m_iWidth < 1 ||
        _tView.m_iHeight < 1 || !fisheye::IsValidArea(_tView.m_tArea) || !std::isfinite(_tView.m_dRotation) ||
        !lens.SetLens(_tView.m_dField, 1.0) ||
        (!_tFrame.HasPlanes() &&
         _tFrame.m_vecRgb.size() < static_cast<size_t>(_tFrame.m_iWidth) * _tFrame.m_iHeight * 3))
        return n_GlResult::NotForGl;
    if (!MakeCurrent()) {
        *_pstrWhy = "the OpenGL ES 3 context was lost (EGL error " +
                    GlHex(static_cast<unsigned>(m_gl.eglGetError())) + ")";
        return n_GlResult::Failed;
    }
    if (_tFrame.m_iWidth > m_iMaxTexture || _tFrame.m_iHeight > m_iMaxTexture) {
        *_pstrWhy = "a " + std::to_string(_tFrame.m_iWidth) + "x" + std::to_string(_tFrame.m_iHeight) +
                    " picture exceeds the largest texture (" + std::to_string(m_iMaxTexture) + ")";
        return n_GlResult::Failed;
    }
    return Upload(_tFrame, _pstrWhy) ? n_GlResult::Drawn : n_GlResult::Failed;
}

void CLS_GlThread::DrawView(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                            n_GlOutput _eOutput, bool _blFlip) {
    m_gl.glViewport(0, 0, _tView.m_iWidth, _tView.m_iHeight);
    m_gl.glUseProgram(m_uProgram);
    SetUniforms(_tFrame, _tView, _eOutput, _blFlip);
    m_gl.glBindVertexArray(m_uVertexArray);
    m_gl.glDrawArrays(GL_TRIANGLES, 0, 3);
}

n_GlResult CLS_GlThread::Draw(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                              const STRUCT_TargetBuffer& _tDst, n_GlOutput _eOutput, bool _blReadBack,
                              std::string* _pstrWhy) {
    if (_tDst.m_iWidth != _tView.m_iWidth || _tDst.m_iHeight != _tView.m_iHeight ||
        _tDst.m_iStride < _tDst.m_iWidth * BytesPerPixel(_tDst.m_eFormat))
        return n_GlResult::NotForGl;
    if (n_GlOutput_Position == _eOutput && n_PixelFormat::Bgrx32 != _tDst.m_eFormat) {
        *_pstrWhy = "source positions need a 4-byte target";
        return n_GlResult::Failed;
    }
    const n_GlResult eReady = Prepare(_tFrame, _tView, _pstrWhy);
    if (n_GlResult::Drawn != eReady)
        return eReady;
    if (!Framebuffer(_tView.m_iWidth, _tView.m_iHeight, _pstrWhy))
        return n_GlResult::Failed;
    DrawView(_tFrame, _tView, _eOutput, false);
    if (_blReadBack)
        ReadBack(_tDst);
    *_pstrWhy = Error("drawing a view");
    return _pstrWhy->empty() ? n_GlResult::Drawn : n_GlResult::Failed;
}

n_GlResult CLS_GlThread::DrawWindow(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                                    const STRUCT_NativeWindow& _tWindow, std::string* _pstrWhy) {
    const n_GlResult eReady = Prepare(_tFrame, _tView, _pstrWhy);
    if (n_GlResult::Drawn != eReady)
        return eReady;
    std::shared_ptr<void>& rpSurface = *_tWindow.m_ppGlSurface;
    if (!rpSurface) {
        std::uint32_t uWindow = _tWindow.m_uWindow;
        EGLSurface surface = m_gl.eglCreatePlatformWindowSurfaceEXT(m_display, m_config, &uWindow, nullptr);
        if (surface == EGL_NO_SURFACE) {
            *_pstrWhy = "no EGL surface for an X11 window (EGL error " +
                        GlHex(static_cast<unsigned>(m_gl.eglGetError())) + ")";
            return n_GlResult::Failed;
        }
        // Destroyed with the window's target, on whichever thread drops it: a surface belongs to
        // the display, not to a context, and is current nowhere between pictures.
        const STRUCT_GlApi* pGl = &m_gl;
        const EGLDisplay display = m_display;
        rpSurface =
            std::shared_ptr<void>(surface, [pGl, display](void* _p) { pGl->eglDestroySurface(display, _p); });
    }
    EGLSurface surface = rpSurface.get();
    if (!m_gl.eglMakeCurrent(m_display, surface, surface, m_context)) {
        *_pstrWhy = "cannot draw into an X11 window's EGL surface (EGL error " +
                    GlHex(static_cast<unsigned>(m_gl.eglGetError())) + ")";
        MakeCurrent();
        return n_GlResult::Failed;
    }
    m_gl.eglSwapInterval(m_display, 0); // pictures come at the stream's pace, not the screen's
    m_gl.glBindFramebuffer(GL_FRAMEBUFFER, 0);
    DrawView(_tFrame, _tView, n_GlOutput_Rgba, true);
    const bool blSwapped = m_gl.eglSwapBuffers(m_display, surface) == EGL_TRUE;
    *_pstrWhy = Error("drawing into an X11 window");
    if (!blSwapped && _pstrWhy->empty())
        *_pstrWhy =
            "eglSwapBuffers failed (EGL error " + GlHex(static_cast<unsigned>(m_gl.eglGetError())) + ")";
    // Released, so that another player's thread may draw into the same window next.
    m_gl.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, m_context);
    return _pstrWhy->empty() ? n_GlResult::Drawn : n_GlResult::Failed;
}

void CLS_GlThread::SetUniforms(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                               n_GlOutput _eOutput, bool _blFlip) {
    fisheye::CLS_FisheyeGeometry geometry;
    geometry.SetLens(_tView.m_dField, 1.0); // checked by the caller
    // The chroma grid as the CPU renderer's: half the view each way, rounded up.
    const int iChromaWidth = (_tView.m_iWidth + 1) / 2;
    const int iChromaHeight = (_tView.m_iHeight + 1) / 2;
    auto ptz = [&](int _iWidth, int _iHeight) {
        return geometry.PtzView(_tView.m_eMount, {_tView.m_iPtzX / 10000.0, _tView.m_iPtzY / 10000.0},
                                _tView.m_iPtzZoom / 10000.0, static_cast<double>(_iWidth) / _iHeight);
    };
    const fisheye::STRUCT_ViewFrame tPtz = ptz(_tView.m_iWidth, _tView.m_iHeight);
    const fisheye::STRUCT_ViewFrame tChromaPtz = ptz(iChromaWidth, iChromaHeight);
    const fisheye::STRUCT_MountBasis tBasis = fisheye::MountBasis(_tView.m_eMount);
    auto vec3 = [this](int _iUniform, const fisheye::STRUCT_Vec3& _t) {
        m_gl.glUniform3f(m_aiUniform[_iUniform], static_cast<float>(_t.m_dX), static_cast<float>(_t.m_dY),
                         static_cast<float>(_t.m_dZ));
    };
    static const int s_aiKind[] = {n_GlKind_Source, n_GlKind_Fisheye,  n_GlKind_Ptz,
                                   n_GlKind_Half,   n_GlKind_Panorama, n_GlKind_Lat};
    m_gl.glUniform1i(m_aiUniform[KIND], s_aiKind[static_cast<int>(_tView.m_eKind)]);
    m_gl.glUniform1i(m_aiUniform[MOUNT], static_cast<int>(_tView.m_eMount));
    m_gl.glUniform4f(m_aiUniform[AREA], static_cast<float>(_tView.m_tArea.m_dLeft),
                     static_cast<float>(_tView.m_tArea.m_dRight), static_cast<float>(_tView.m_tArea.m_dTop),
                     static_cast<float>(_tView.m_tArea.m_dBottom));
    m_gl.glUniform2f(m_aiUniform[OUT_SIZE], static_cast<float>(_tView.m_iWidth),
                     static_cast<float>(_tView.m_iHeight));
    m_gl.glUniform1f(m_aiUniform[HALF_FIELD], static_cast<float>(geometry.HalfField()));
    const double dTurn = fisheye::n_ViewKind::Half == _tView.m_eKind ? 180.0 : 360.0;
    m_gl.glUniform1f(m_aiUniform[SHIFT], static_cast<float>(std::fmod(_tView.m_dRotation / dTurn, 2.0)));
    vec3(EAST, tBasis.m_tEast);
    vec3(NORTH, tBasis.m_tNorth);
    vec3(UP, tBasis.m_tUp);
    vec3(FORWARD, tPtz.m_tForward);
    vec3(RIGHT, tPtz.m_tRight);
    vec3(VIEW_UP, tPtz.m_tUp);
    m_gl.glUniform2f(m_aiUniform[TAN_HALF], static_cast<float>(tPtz.m_dTanHalfWidth),
                     static_cast<float>(tPtz.m_dTanHalfHeight));
    m_gl.glUniform2f(m_aiUniform[CHROMA_SIZE], static_cast<float>(iChromaWidth),
                     static_cast<float>(iChromaHeight));
    m_gl.glUniform2f(m_aiUniform[CHROMA_TAN_HALF], static_cast<float>(tChromaPtz.m_dTanHalfWidth),
                     static_cast<float>(tChromaPtz.m_dTanHalfHeight));
    const int iPlanes = !_tFrame.HasPlanes()                                        ? n_GlPlanes_Rgb
                        : fisheye::n_YuvLayout::Nv12 == _tFrame.m_tPlanes.m_eLayout ? n_GlPlanes_Nv12
                                                                                    : n_GlPlanes_Yuv;
    m_gl.glUniform1i(m_aiUniform[PLANES_KIND], iPlanes);
    m_gl.glUniform1i(m_aiUniform[FULL_RANGE], _tFrame.HasPlanes() && _tFrame.m_tPlanes.m_blFullRange ? 1 : 0);
    m_gl.glUniform1i(m_aiUniform[OUTPUT], _eOutput);
    m_gl.glUniform1i(m_aiUniform[FLIP], _blFlip ? 1 : 0);
}

void CLS_GlThread::ReadBack(const STRUCT_TargetBuffer& _tDst) {
    const int iWidth = _tDst.m_iWidth;
    const int iHeight = _tDst.m_iHeight;
    const int iPixel = BytesPerPixel(_tDst.m_eFormat);
    m_gl.glPixelStorei(GL_PACK_ALIGNMENT, 1);
    if (4 == iPixel && _tDst.m_iStride % 4 == 0) {
        m_gl.glPixelStorei(GL_PACK_ROW_LENGTH, _tDst.m_iStride / 4);
        m_gl.glReadPixels(0, 0, iWidth, iHeight, GL_RGBA, GL_UNSIGNED_BYTE, _tDst.m_pData);
        m_gl.glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    } else {
        // RGB targets: the rows read as RGBA, then packed.
        m_vecRead.resize(static_cast<size_t>(iWidth) * iHeight * 4);
        m_gl.glReadPixels(0, 0, iWidth, iHeight, GL_RGBA, GL_UNSIGNED_BYTE, m_vecRead.data());
        for (int y = 0; y < iHeight; ++y) {
            const std::uint8_t* pcRead = m_vecRead.data() + static_cast<size_t>(y) * iWidth * 4;
            std::uint8_t* pcRow = _tDst.m_pData + static_cast<size_t>(y) * _tDst.m_iStride;
            for (int x = 0; x < iWidth; ++x)
                std::memcpy(pcRow + static_cast<size_t>(x) * iPixel, pcRead + static_cast<size_t>(x) * 4,
                            static_cast<size_t>(iPixel));
        }
    }
}

} // namespace korvane
