#include "ViewParamsBuilder.h"

#include <algorithm>
#include <cmath>

namespace korvane {

ViewParams MakeViewParams(const ViewSources& _tSources) {
    ViewParams tParams;
    PictureArea tArea;
    const STRUCT_CorrectSetup* pWhole = _tSources.m_pWholeSetup;
    const PictureArea tWholeArea = pWhole ? PictureArea{pWhole->m_iAreaLeft, pWhole->m_iAreaTop,
                                                        pWhole->m_iAreaRight, pWhole->m_iAreaBottom}
                                          : PictureArea{};
    if (pWhole && tWholeArea.IsValid())
        tArea = tWholeArea;
    else if (_tSources.m_pFoundArea && _tSources.m_pFoundArea->IsValid())
        tArea = *_tSources.m_pFoundArea;
    tParams.m_iAreaLeft = tArea.m_iLeft;
    tParams.m_iAreaTop = tArea.m_iTop;
    tParams.m_iAreaRight = tArea.m_iRight;
    tParams.m_iAreaBottom = tArea.m_iBottom;
    if (pWhole)
        tParams.m_iMountMode = pWhole->m_iInstallMode;
    if (const STRUCT_CorrectSetup* pSetup = _tSources.m_pSetup) {
        tParams.m_iKind = pSetup->m_iCorrectType;
        tParams.m_iMountMode = pSetup->m_iInstallMode;
        tParams.m_iExtra = pSetup->m_iExtra;
    }
    if (const STRUCT_PTZCorrectPara* pPtz = _tSources.m_pPtz) {
        tParams.m_iPtzX = std::clamp(pPtz->iPTZPositionX, 0, 10000);
        tParams.m_iPtzY = std::clamp(pPtz->iPTZPositionY, 0, 10000);
        tParams.m_iPtzZoom = std::max(pPtz->iPTZZoom, 1);
    }
    if (_tSources.m_pPanorama && std::isfinite(_tSources.m_pPanorama->m_fRotateAngle))
        tParams.m_fRotateAngle = _tSources.m_pPanorama->m_fRotateAngle;
    return tParams;
}

} // namespace korvane
