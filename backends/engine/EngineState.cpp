// The engine's registries and the choice of a window's target.
#include "EngineState.h"

namespace korvane {

Registry& R() {
    static Registry* s_pRegistry = new Registry;
    return *s_pRegistry;
}

std::shared_ptr<Player> FindPlayer(int _iPlayId) {
    std::lock_guard<std::mutex> lock(R().m_mutex);
    const auto it = R().m_mapPlayers.find(_iPlayId);
    return it == R().m_mapPlayers.end() ? nullptr : it->second;
}

std::shared_ptr<CLS_SurfaceTarget> FindSurface(const void* _hSurface) {
    if (!_hSurface)
        return nullptr;
    std::lock_guard<std::mutex> lock(R().m_mutex);
    const auto it = R().m_mapSurfaces.find(_hSurface);
    return it == R().m_mapSurfaces.end() ? nullptr : it->second;
}

bool IsKnownCorrectType(int _iType) {
    return _iType == KW_CORRECT_SOURCE || _iType == KW_CORRECT_PTZ || _iType == KW_CORRECT_180 ||
           _iType == KW_CORRECT_360 || _iType == KW_CORRECT_LAT || _iType == KW_CORRECT_FISHEYE;
}

int FreeCorrectId(const Player& _tPlayer) {
    int iId = 0;
    while (_tPlayer.m_mapCorrections.count(iId) || iId == _tPlayer.m_iWholeId)
        ++iId;
    return iId;
}

std::shared_ptr<CLS_RenderTarget> ChooseTarget(const void* _pWindow) {
    if (std::shared_ptr<CLS_SurfaceTarget> pSurface = FindSurface(_pWindow))
        return pSurface;
    if (std::shared_ptr<CLS_RenderTarget> pWindow = OpenX11Target(_pWindow))
        return pWindow;
    return std::make_shared<CLS_NullTarget>();
}

} // namespace korvane
