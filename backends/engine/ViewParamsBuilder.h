// How the engine derives a view's ViewParams from what it holds: the view's set-up and
// parameter records, the player's whole-picture correction and the area found in the pictures.
#ifndef KORVANE_VIEW_PARAMS_BUILDER_H
#define KORVANE_VIEW_PARAMS_BUILDER_H

#include "ViewRenderer.h"

#include "abi/ZebPlayerRecords.h"

namespace korvane {

// A rectangle of the picture, 0 to 10000 per axis.
struct PictureArea {
    int m_iLeft = 0;
    int m_iTop = 0;
    int m_iRight = 10000;
    int m_iBottom = 10000;

    // Inside the picture and not empty.
    bool IsValid() const {
        return 0 <= m_iLeft && m_iLeft < m_iRight && m_iRight <= 10000 && 0 <= m_iTop && m_iTop < m_iBottom &&
               m_iBottom <= 10000;
    }
};

// What the engine knows of one view; null pointers for what it does not have.
struct ViewSources {
    const STRUCT_CorrectSetup* m_pWholeSetup = nullptr; // the whole-picture set-up while enabled
    const PictureArea* m_pFoundArea = nullptr;          // the fisheye area found in the pictures
    const STRUCT_CorrectSetup* m_pSetup = nullptr;      // the view's set-up; null for the main window
    const STRUCT_PTZCorrectPara* m_pPtz = nullptr;      // the view's kind 1 parameters
    const STRUCT_PanoramaPara* m_pPanorama = nullptr;   // the view's kind 3 parameters
};

// The main window (no set-up) is a source view. The area is the whole-picture set-up's (bytes
// 16, 24, 20, 28 as left, top, right, bottom) when valid, else the area found, else the whole
// picture. The mounting mode is the view's set-up's, else the whole-picture set-up's, else 0.
// PTZ positions are clamped to 0..10000 and the zoom to at least 1; a rotation that is not
// finite is 0.
ViewParams MakeViewParams(const ViewSources& _tSources);

} // namespace korvane

#endif // KORVANE_VIEW_PARAMS_BUILDER_H
