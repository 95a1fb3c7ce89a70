// The GL renderer's entry points and its view renderer; see GlRenderer.h.
#include "GlRenderer.h"

#include "EngineLog.h"
#include "GlThread.h"
#include "RendererChoice.h"

namespace korvane {

n_GlResult GlDrawView(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                      const STRUCT_TargetBuffer& _tDst, n_GlOutput _eOutput, std::string* _pstrWhy,
                      bool _blReadBack) {
    CLS_GlThread* pThread = CLS_GlThread::Get(GlDisplay(), _pstrWhy);
    return pThread ? pThread->Draw(_tFrame, _tView, _tDst, _eOutput, _blReadBack, _pstrWhy)
                   : n_GlResult::Failed;
}

n_GlResult GlDrawWindow(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                        const STRUCT_NativeWindow& _tWindow, std::string* _pstrWhy) {
    const STRUCT_GlDisplay& tDisplay = GlWindowDisplay(_tWindow.m_pXcb, _tWindow.m_iScreen);
    // A GPU off-screen is worth more than a software rasteriser drawing into the window.
    if (tDisplay.m_strWhy.empty() && !tDisplay.m_blGpu && GlHasGpu())
        return n_GlResult::NotForGl;
    CLS_GlThread* pThread = CLS_GlThread::Get(tDisplay, _pstrWhy);
    return pThread ? pThread->DrawWindow(_tFrame, _tView, _tWindow, _pstrWhy) : n_GlResult::Failed;
}

bool GlHasGpu() {
    if (!HasGpuDevice())
        return false; // no display opened: a software rasteriser is not loaded for nothing
    const STRUCT_GlDisplay& tDisplay = GlDisplay();
    return tDisplay.m_strWhy.empty() && tDisplay.m_blGpu;
}

bool GlFinish() {
    std::string strWhy;
    CLS_GlThread* pThread = CLS_GlThread::Get(GlDisplay(), &strWhy);
    if (!pThread || !pThread->MakeCurrent())
        return false;
    pThread->Finish();
    return true;
}

bool CLS_GlViewRenderer::RenderToWindow(const Frame& _tSrc, const ViewParams& _tParams,
                                        const STRUCT_NativeWindow& _tWindow) {
    if (m_blFailed || m_blNoWindow || !_tWindow.m_ppGlSurface)
        return false;
    std::string strWhy;
    const n_GlResult eResult =
        GlDrawWindow(_tSrc, DewarpParams(_tParams, _tWindow.m_iWidth, _tWindow.m_iHeight), _tWindow, &strWhy);
    if (n_GlResult::Drawn == eResult) {
        NoteDrawn(n_Renderer_Gl);
        return true;
    }
    if (n_GlResult::Failed == eResult) {
        LogOnce("GL renderer: " + strWhy + "; X11 windows are drawn through read-back");
        m_blNoWindow = true;
    }
    return false;
}

void CLS_GlViewRenderer::Render(const Frame& _tSrc, const ViewParams& _tParams,
                                const STRUCT_TargetBuffer& _tDst) {
    if (!m_blFailed) {
        std::string strWhy;
        const n_GlResult eResult =
            GlDrawView(_tSrc, DewarpParams(_tParams, _tDst.m_iWidth, _tDst.m_iHeight), _tDst,
                       n_PixelFormat::Bgrx32 == _tDst.m_eFormat ? n_GlOutput_Bgrx : n_GlOutput_Rgba, &strWhy);
        if (n_GlResult::Drawn == eResult) {
            NoteDrawn(n_Renderer_Gl);
            return;
        }
        if (n_GlResult::Failed == eResult) {
            LogOnce("GL renderer: " + strWhy + "; views are drawn by the CPU renderer");
            m_blFailed = true;
        }
    }
    m_cpu.Render(_tSrc, _tParams, _tDst);
    NoteDrawn(n_Renderer_Cpu);
}

} // namespace korvane
