#include "ViewRenderer.h"

#include <cstring>

namespace korvane {

void CLS_CopyRenderer::Render(const Frame& _tSrc, const ViewParams&, Surface& _tDst) {
    const int iSrcW = _tSrc.m_iWidth;
    const int iSrcH = _tSrc.m_iHeight;
    const int iDstW = _tDst.m_iWidth;
    const int iDstH = _tDst.m_iHeight;
    if (iSrcW <= 0 || iSrcH <= 0 || iDstW <= 0 || iDstH <= 0)
        return;
    // Column lookup once per picture; 64-bit products so that large sizes cannot overflow.
    std::vector<int> vecColumn(static_cast<size_t>(iDstW));
    for (int x = 0; x < iDstW; ++x)
        vecColumn[static_cast<size_t>(x)] = static_cast<int>(static_cast<long long>(x) * iSrcW / iDstW);
    for (int y = 0; y < iDstH; ++y) {
        const int iSrcY = static_cast<int>(static_cast<long long>(y) * iSrcH / iDstH);
        const std::uint8_t* pcSrcRow = _tSrc.m_vecRgb.data() + static_cast<size_t>(iSrcY) * iSrcW * 3;
        std::uint8_t* pcDstRow = _tDst.m_vecRgb.data() + static_cast<size_t>(y) * iDstW * 3;
        if (iSrcW == iDstW) {
            std::memcpy(pcDstRow, pcSrcRow, static_cast<size_t>(iDstW) * 3);
            continue;
        }
        for (int x = 0; x < iDstW; ++x)
            std::memcpy(pcDstRow + static_cast<size_t>(x) * 3,
                        pcSrcRow + static_cast<size_t>(vecColumn[x]) * 3, 3);
    }
}

std::unique_ptr<CLS_ViewRenderer> CreateViewRenderer(int) {
    return std::make_unique<CLS_CopyRenderer>();
}

} // namespace korvane
