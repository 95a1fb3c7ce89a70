// The default view drawing, the surface and null targets; the X11 one is in X11Target.cpp.
#include "RenderTarget.h"

#include "ViewRenderer.h"

#include <cstdint>

namespace korvane {

int BytesPerPixel(n_PixelFormat _eFormat) {
    return n_PixelFormat::Bgrx32 == _eFormat ? 4 : 3;
}

bool CLS_RenderTarget::DrawView(const Frame& _tFrame, const ViewParams& _tParams,
                                CLS_ViewRenderer& _renderer) {
    {
        std::lock_guard<std::mutex> lock(m_drawMutex);
        STRUCT_NativeWindow tWindow;
        if (NativeWindow(&tWindow) && _renderer.RenderToWindow(_tFrame, _tParams, tWindow))
            return true;
    }
    return Draw([&](const STRUCT_TargetBuffer& _tBuffer) { _renderer.Render(_tFrame, _tParams, _tBuffer); });
}

CLS_SurfaceTarget::CLS_SurfaceTarget(int _iWidth, int _iHeight)
    : m_iWidth(_iWidth), m_iHeight(_iHeight), m_vecRgb(static_cast<size_t>(_iWidth) * _iHeight * 3, 0) {}

bool CLS_SurfaceTarget::Acquire(STRUCT_TargetBuffer* _ptBuffer) {
    _ptBuffer->m_pData = m_vecRgb.data();
    _ptBuffer->m_iWidth = m_iWidth;
    _ptBuffer->m_iHeight = m_iHeight;
    _ptBuffer->m_iStride = m_iWidth * 3;
    _ptBuffer->m_eFormat = n_PixelFormat::Rgb24;
    return true;
}

void CLS_SurfaceTarget::Present() {
    if (m_iPresented < INT32_MAX)
        ++m_iPresented;
}

CLS_NullTarget::CLS_NullTarget(int _iWidth, int _iHeight, n_PixelFormat _eFormat) {
    if (_iWidth < 1 || _iHeight < 1)
        return;
    m_vecPixels.assign(static_cast<size_t>(_iWidth) * _iHeight * BytesPerPixel(_eFormat), 0);
    m_tBuffer = {m_vecPixels.data(), _iWidth, _iHeight, _iWidth * BytesPerPixel(_eFormat), _eFormat};
}

bool CLS_NullTarget::Acquire(STRUCT_TargetBuffer* _ptBuffer) {
    if (!m_tBuffer.m_pData)
        return false;
    *_ptBuffer = m_tBuffer;
    return true;
}

} // namespace korvane
