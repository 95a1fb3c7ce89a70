#include "X11Targets.h"

#ifdef KORVANE_WITH_X11

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <vector>

namespace korvane {

namespace {

// The engine's connection, opened once; null when there is no usable display.
struct Connection {
    xcb_connection_t* m_pConnection = nullptr;
    size_t m_uMaxRequestBytes = 0;
    std::mutex m_mutex; // one picture at a time on the connection
};

// Whether the display stores 24-bit pictures as 32-bit little-endian pixels, the only layout
// written here.
bool HasPlainLayout(const xcb_setup_t* _pSetup) {
    if (_pSetup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
        return false;
    xcb_format_iterator_t it = xcb_setup_pixmap_formats_iterator(_pSetup);
    for (; it.rem; xcb_format_next(&it))
        if (it.data->depth == 24)
            return it.data->bits_per_pixel == 32;
    return false;
}

Connection* Open() {
    // Never closed: views of players that the host never deletes may render until the end.
    static Connection* s_pConnection = [] {
        Connection* pConnection = new Connection;
        if (!std::getenv("DISPLAY"))
            return pConnection;
        xcb_connection_t* pXcb = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(pXcb) || !HasPlainLayout(xcb_get_setup(pXcb))) {
            xcb_disconnect(pXcb);
            return pConnection;
        }
        pConnection->m_pConnection = pXcb;
        pConnection->m_uMaxRequestBytes = static_cast<size_t>(xcb_get_maximum_request_length(pXcb)) * 4;
        return pConnection;
    }();
    return s_pConnection->m_pConnection ? s_pConnection : nullptr;
}

} // namespace

bool RenderToX11Window(const void* _pWindow, const Frame& _tFrame, const ViewParams& _tParams,
                       CLS_ViewRenderer& _tRenderer) {
    const std::uintptr_t uHandle = reinterpret_cast<std::uintptr_t>(_pWindow);
    // X11 resource ids have 29 bits; anything else is no window.
    if (uHandle == 0 || uHandle >= (std::uintptr_t{1} << 29))
        return false;
    Connection* pConnection = Open();
    if (!pConnection)
        return false;
    xcb_connection_t* pXcb = pConnection->m_pConnection;
    const xcb_window_t uWindow = static_cast<xcb_window_t>(uHandle);
    std::lock_guard<std::mutex> lock(pConnection->m_mutex);
    xcb_generic_error_t* pError = nullptr;
    xcb_get_geometry_reply_t* pGeometry =
        xcb_get_geometry_reply(pXcb, xcb_get_geometry(pXcb, uWindow), &pError);
    std::free(pError);
    if (!pGeometry)
        return false;
    Surface tPicture;
    tPicture.m_iWidth = pGeometry->width;
    tPicture.m_iHeight = pGeometry->height;
    const bool blUsable = pGeometry->depth == 24 && tPicture.m_iWidth > 0 && tPicture.m_iHeight > 0;
    std::free(pGeometry);
    if (!blUsable)
        return false;
    tPicture.m_vecRgb.assign(static_cast<size_t>(tPicture.m_iWidth) * tPicture.m_iHeight * 3, 0);
    _tRenderer.Render(_tFrame, _tParams, tPicture);

    // 32-bit pixels, blue first; sent in bands of rows that fit one request.
    const size_t uRowBytes = static_cast<size_t>(tPicture.m_iWidth) * 4;
    std::vector<std::uint8_t> vecPixels(uRowBytes * tPicture.m_iHeight);
    for (size_t i = 0, n = static_cast<size_t>(tPicture.m_iWidth) * tPicture.m_iHeight; i < n; ++i) {
        vecPixels[i * 4] = tPicture.m_vecRgb[i * 3 + 2];
        vecPixels[i * 4 + 1] = tPicture.m_vecRgb[i * 3 + 1];
        vecPixels[i * 4 + 2] = tPicture.m_vecRgb[i * 3];
    }
    const size_t uRequestHead = 32;
    const int iBand = static_cast<int>(
        std::max<size_t>(1, std::min<size_t>(tPicture.m_iHeight,
                                             (pConnection->m_uMaxRequestBytes - uRequestHead) / uRowBytes)));
    if (uRowBytes + uRequestHead > pConnection->m_uMaxRequestBytes)
        return false; // a single row does not fit a request
    const xcb_gcontext_t uGc = xcb_generate_id(pXcb);
    xcb_create_gc(pXcb, uGc, uWindow, 0, nullptr);
    for (int y = 0; y < tPicture.m_iHeight; y += iBand) {
        const int iRows = std::min(iBand, tPicture.m_iHeight - y);
        xcb_put_image(pXcb, XCB_IMAGE_FORMAT_Z_PIXMAP, uWindow, uGc,
                      static_cast<std::uint16_t>(tPicture.m_iWidth), static_cast<std::uint16_t>(iRows), 0,
                      static_cast<std::int16_t>(y), 0, 24, static_cast<std::uint32_t>(uRowBytes * iRows),
                      vecPixels.data() + uRowBytes * y);
    }
    xcb_free_gc(pXcb, uGc);
    xcb_flush(pXcb);
    // Errors of the requests above (a window that went away meanwhile) arrive as events: they
    // are dropped so that they do not pile up.
    while (xcb_generic_event_t* pEvent = xcb_poll_for_event(pXcb))
        std::free(pEvent);
    return true;
}

} // namespace korvane

#else // without XCB: no window is an X11 window

namespace korvane {

bool RenderToX11Window(const void*, const Frame&, const ViewParams&, CLS_ViewRenderer&) {
    return false;
}

} // namespace korvane

#endif
