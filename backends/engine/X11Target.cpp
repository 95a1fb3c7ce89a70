// X11 windows as rendering targets, reached through XCB so that nothing of the host's own X state
// (such as its error handler) is touched. The window's size is read once and then followed through
// its configure events, and its pixels live in buffers kept across pictures: shared memory
// (MIT-SHM) where the server offers it, else a plain buffer sent in bands of rows.
#include "RenderTarget.h"

#ifdef KORVANE_WITH_X11

#include <xcb/xcb.h>
#ifdef KORVANE_WITH_XSHM
#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>
#endif

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>

namespace korvane {

namespace {

class CLS_X11Target;

// The engine's connection, opened once; null when there is no usable display. Every target's
// geometry and liveness are read and written under m_mutex, by whichever thread reads the events.
struct Connection {
    xcb_connection_t* m_pConnection = nullptr;
    int m_iScreen = 0; // the screen DISPLAY names
    size_t m_uMaxRequestBytes = 0;
    bool m_blShm = false;
    std::mutex m_mutex;
    // A target removes itself in its destructor (under m_mutex), so every one named here is whole.
    std::map<xcb_window_t, CLS_X11Target*> m_mapTargets;
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

// Whether DISPLAY names a server on this machine: only there does a shared-memory segment id mean
// the same memory to both sides (a remote server could attach another segment of that id).
bool IsLocalDisplay() {
    char* pcHost = nullptr;
    int iDisplay = 0;
    int iScreen = 0;
    if (!xcb_parse_display(nullptr, &pcHost, &iDisplay, &iScreen))
        return false;
    const bool blLocal = !pcHost || !*pcHost || std::strcmp(pcHost, "unix") == 0;
    std::free(pcHost);
    return blLocal;
}

bool HasShm(xcb_connection_t* _pXcb) {
#ifdef KORVANE_WITH_XSHM
    if (!IsLocalDisplay())
        return false;
    xcb_shm_query_version_reply_t* pReply =
        xcb_shm_query_version_reply(_pXcb, xcb_shm_query_version(_pXcb), nullptr);
    const bool blHas = pReply != nullptr;
    std::free(pReply);
    return blHas;
#else
    (void)_pXcb;
    return false;
#endif
}

Connection* Open() {
    // Never closed: views of players that the host never deletes may render until the end.
    static Connection* s_pConnection = [] {
        Connection* pConnection = new Connection;
        if (!std::getenv("DISPLAY"))
            return pConnection;
        int iScreen = 0;
        xcb_connection_t* pXcb = xcb_connect(nullptr, &iScreen);
        if (xcb_connection_has_error(pXcb) || !HasPlainLayout(xcb_get_setup(pXcb))) {
            xcb_disconnect(pXcb);
            return pConnection;
        }
        pConnection->m_pConnection = pXcb;
        pConnection->m_iScreen = iScreen;
        pConnection->m_uMaxRequestBytes = static_cast<size_t>(xcb_get_maximum_request_length(pXcb)) * 4;
        pConnection->m_blShm = HasShm(pXcb) && !std::getenv("KORVANE_NO_XSHM");
        return pConnection;
    }();
    return s_pConnection->m_pConnection ? s_pConnection : nullptr;
}

class CLS_X11Target : public CLS_RenderTarget, public std::enable_shared_from_this<CLS_X11Target> {
public:
    CLS_X11Target(Connection& _tConnection, xcb_window_t _uWindow, int _iWidth, int _iHeight)
        : m_tConnection(_tConnection), m_uWindow(_uWindow), m_iWidth(_iWidth), m_iHeight(_iHeight) {
        xcb_connection_t* pXcb = m_tConnection.m_pConnection;
        m_uGc = xcb_generate_id(pXcb);
        xcb_create_gc(pXcb, m_uGc, m_uWindow, 0, nullptr);
        const std::uint32_t uMask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        m_uSince = xcb_change_window_attributes(pXcb, m_uWindow, XCB_CW_EVENT_MASK, &uMask).sequence;
        xcb_flush(pXcb);
    }

    ~CLS_X11Target() override {
        m_pGlSurface.reset(); // before the window's other resources; needs no lock of the engine's
        std::lock_guard<std::mutex> lock(m_tConnection.m_mutex);
        ReleaseBuffer();
        xcb_free_gc(m_tConnection.m_pConnection, m_uGc);
        xcb_flush(m_tConnection.m_pConnection);
        const auto it = m_tConnection.m_mapTargets.find(m_uWindow);
        if (it != m_tConnection.m_mapTargets.end() && it->second == this)
            m_tConnection.m_mapTargets.erase(it);
    }

    bool IsAlive() const override {
        std::lock_guard<std::mutex> lock(m_tConnection.m_mutex);
        return m_blAlive;
    }

    // Connection locked: the events that concern targets.
    static void ReadEvents(Connection& _tConnection) {
        while (xcb_generic_event_t* pEvent = xcb_poll_for_event(_tConnection.m_pConnection)) {
            const std::uint8_t uType = pEvent->response_type & 0x7f;
            const std::uint32_t uSequence = pEvent->full_sequence;
            if (uType == XCB_CONFIGURE_NOTIFY) {
                const auto* pConfigure = reinterpret_cast<const xcb_configure_notify_event_t*>(pEvent);
                if (CLS_X11Target* pTarget = Find(_tConnection, pConfigure->window, uSequence)) {
                    pTarget->m_iWidth = pConfigure->width;
                    pTarget->m_iHeight = pConfigure->height;
                }
            } else if (uType == XCB_DESTROY_NOTIFY) {
                const auto* pDestroy = reinterpret_cast<const xcb_destroy_notify_event_t*>(pEvent);
                if (CLS_X11Target* pTarget = Find(_tConnection, pDestroy->window, uSequence))
                    pTarget->m_blAlive = false;
            } else if (uType == 0) {
                // An error of an earlier request: a window that went away meanwhile.
                const auto* pError = reinterpret_cast<const xcb_generic_error_t*>(pEvent);
                if (pError->error_code == XCB_WINDOW || pError->error_code == XCB_DRAWABLE)
                    if (CLS_X11Target* pTarget = Find(_tConnection, pError->resource_id, uSequence))
                        pTarget->m_blAlive = false;
            }
            std::free(pEvent);
        }
    }

protected:
    bool NativeWindow(STRUCT_NativeWindow* _ptWindow) override {
        std::lock_guard<std::mutex> lock(m_tConnection.m_mutex);
        ReadEvents(m_tConnection);
        if (!m_blAlive || m_iWidth < 1 || m_iHeight < 1)
            return false;
        *_ptWindow = {m_tConnection.m_pConnection,
                      m_tConnection.m_iScreen,
                      m_uWindow,
                      m_iWidth,
                      m_iHeight,
                      &m_pGlSurface};
        return true;
    }

    bool Acquire(STRUCT_TargetBuffer* _ptBuffer) override {
        std::lock_guard<std::mutex> lock(m_tConnection.m_mutex);
        ReadEvents(m_tConnection);
        if (!m_blAlive || m_iWidth < 1 || m_iHeight < 1)
            return false;
        if (m_iWidth != m_iBufferWidth || m_iHeight != m_iBufferHeight) {
            ReleaseBuffer();
            if (!AllocateBuffer(m_iWidth, m_iHeight))
                return false;
        }
        *_ptBuffer = {m_pcPixels, m_iBufferWidth, m_iBufferHeight, m_iBufferWidth * 4, n_PixelFormat::Bgrx32};
        return true;
    }

    void Present() override {
        std::lock_guard<std::mutex> lock(m_tConnection.m_mutex);
        xcb_connection_t* pXcb = m_tConnection.m_pConnection;
        const size_t uRowBytes = static_cast<size_t>(m_iBufferWidth) * 4;
#ifdef KORVANE_WITH_XSHM
        if (m_uShmSegment) {
            xcb_shm_put_image(pXcb, m_uWindow, m_uGc, static_cast<std::uint16_t>(m_iBufferWidth),
                              static_cast<std::uint16_t>(m_iBufferHeight), 0, 0,
                              static_cast<std::uint16_t>(m_iBufferWidth),
                              static_cast<std::uint16_t>(m_iBufferHeight), 0, 0, 24,
                              XCB_IMAGE_FORMAT_Z_PIXMAP, 0, m_uShmSegment, 0);
            // The server reads the segment after the request: a round trip makes sure it has before
            // the next picture is drawn into it.
            std::free(xcb_get_input_focus_reply(pXcb, xcb_get_input_focus(pXcb), nullptr));
            return;
        }
#endif
        const size_t uRequestHead = 32;
        if (uRowBytes + uRequestHead > m_tConnection.m_uMaxRequestBytes)
            return; // a single row does not fit a request
        const int iBand = static_cast<int>(std::max<size_t>(
            1, std::min<size_t>(m_iBufferHeight,
                                (m_tConnection.m_uMaxRequestBytes - uRequestHead) / uRowBytes)));
        for (int y = 0; y < m_iBufferHeight; y += iBand) {
            const int iRows = std::min(iBand, m_iBufferHeight - y);
            xcb_put_image(pXcb, XCB_IMAGE_FORMAT_Z_PIXMAP, m_uWindow, m_uGc,
                          static_cast<std::uint16_t>(m_iBufferWidth), static_cast<std::uint16_t>(iRows), 0,
                          static_cast<std::int16_t>(y), 0, 24, static_cast<std::uint32_t>(uRowBytes * iRows),
                          m_pcPixels + uRowBytes * y);
        }
        xcb_flush(pXcb);
    }

private:
    // The target of _uWindow for an event of request _uSequence; null for an event older than the
    // target: the server reuses the ids of destroyed windows, and an event about an earlier window
    // of the same id (its destruction) may still be waiting to be read.
    static CLS_X11Target* Find(Connection& _tConnection, xcb_window_t _uWindow, std::uint32_t _uSequence) {
        const auto it = _tConnection.m_mapTargets.find(_uWindow);
        if (it == _tConnection.m_mapTargets.end() || !it->second)
            return nullptr;
        // Sequence numbers wrap: the difference's sign tells which came first.
        return static_cast<std::int32_t>(_uSequence - it->second->m_uSince) < 0 ? nullptr : it->second;
    }

    // Connection locked.
    bool AllocateBuffer(int _iWidth, int _iHeight) {
        const size_t uBytes = static_cast<size_t>(_iWidth) * _iHeight * 4;
#ifdef KORVANE_WITH_XSHM
        if (m_tConnection.m_blShm && AttachShm(uBytes)) {
            m_iBufferWidth = _iWidth;
            m_iBufferHeight = _iHeight;
            return true;
        }
#endif
        try {
            m_vecPixels.assign(uBytes, 0);
        } catch (const std::bad_alloc&) {
            return false;
        }
        m_pcPixels = m_vecPixels.data();
        m_iBufferWidth = _iWidth;
        m_iBufferHeight = _iHeight;
        return true;
    }

#ifdef KORVANE_WITH_XSHM
    bool AttachShm(size_t _uBytes) {
        xcb_connection_t* pXcb = m_tConnection.m_pConnection;
        const int iId = shmget(IPC_PRIVATE, _uBytes, IPC_CREAT | 0600);
        if (iId < 0)
            return false;
        void* pMemory = shmat(iId, nullptr, 0);
        if (pMemory == reinterpret_cast<void*>(-1)) {
            shmctl(iId, IPC_RMID, nullptr);
            return false;
        }
        const xcb_shm_seg_t uSegment = xcb_generate_id(pXcb);
        xcb_generic_error_t* pError = xcb_request_check(
            pXcb, xcb_shm_attach_checked(pXcb, uSegment, static_cast<std::uint32_t>(iId), 0));
        // Removed now: the segment lives on until both sides detach, and no crash can leave it behind.
        shmctl(iId, IPC_RMID, nullptr);
        if (pError) {
            // A server on another machine: plain requests from now on.
            std::free(pError);
            shmdt(pMemory);
            m_tConnection.m_blShm = false;
            return false;
        }
        m_uShmSegment = uSegment;
        m_pcPixels = static_cast<std::uint8_t*>(pMemory);
        return true;
    }
#endif

    // Connection locked.
    void ReleaseBuffer() {
#ifdef KORVANE_WITH_XSHM
        if (m_uShmSegment) {
            xcb_shm_detach(m_tConnection.m_pConnection, m_uShmSegment);
            shmdt(m_pcPixels);
            m_uShmSegment = 0;
        }
#endif
        m_vecPixels.clear();
        m_vecPixels.shrink_to_fit();
        m_pcPixels = nullptr;
        m_iBufferWidth = 0;
        m_iBufferHeight = 0;
    }

    Connection& m_tConnection;
    const xcb_window_t m_uWindow;
    xcb_gcontext_t m_uGc = 0;
    std::uint32_t m_uSince = 0; // the request from which on events concern this target
    // Under the connection's lock.
    int m_iWidth;
    int m_iHeight;
    bool m_blAlive = true;
    // Drawing only (the draw lock).
    std::shared_ptr<void> m_pGlSurface; // a GL renderer's surface of the window
    int m_iBufferWidth = 0;
    int m_iBufferHeight = 0;
    std::uint8_t* m_pcPixels = nullptr;
    std::vector<std::uint8_t> m_vecPixels;
#ifdef KORVANE_WITH_XSHM
    xcb_shm_seg_t m_uShmSegment = 0;
#endif
};

} // namespace

std::shared_ptr<CLS_RenderTarget> OpenX11Target(const void* _pWindow) {
    const std::uintptr_t uHandle = reinterpret_cast<std::uintptr_t>(_pWindow);
    // X11 resource ids have 29 bits; anything else is no window.
    if (uHandle == 0 || uHandle >= (std::uintptr_t{1} << 29))
        return nullptr;
    Connection* pConnection = Open();
    if (!pConnection)
        return nullptr;
    xcb_connection_t* pXcb = pConnection->m_pConnection;
    const xcb_window_t uWindow = static_cast<xcb_window_t>(uHandle);
    std::unique_lock<std::mutex> lock(pConnection->m_mutex);
    const auto it = pConnection->m_mapTargets.find(uWindow);
    if (it != pConnection->m_mapTargets.end() && it->second)
        // Null while its last owner is dropping it: a new target replaces it.
        if (std::shared_ptr<CLS_X11Target> pTarget = it->second->weak_from_this().lock())
            return pTarget;
    xcb_generic_error_t* pError = nullptr;
    xcb_get_geometry_reply_t* pGeometry =
        xcb_get_geometry_reply(pXcb, xcb_get_geometry(pXcb, uWindow), &pError);
    std::free(pError);
    if (!pGeometry)
        return nullptr;
    const int iWidth = pGeometry->width;
    const int iHeight = pGeometry->height;
    const bool blUsable = pGeometry->depth == 24;
    std::free(pGeometry);
    if (!blUsable)
        return nullptr;
    // The slot first: a target must never be dropped here, as its destructor takes the lock held.
    try {
        CLS_X11Target*& rpSlot = pConnection->m_mapTargets[uWindow];
        std::shared_ptr<CLS_X11Target> pTarget =
            std::make_shared<CLS_X11Target>(*pConnection, uWindow, iWidth, iHeight);
        rpSlot = pTarget.get();
        return pTarget;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace korvane

#else // without XCB: no window is an X11 window

namespace korvane {

std::shared_ptr<CLS_RenderTarget> OpenX11Target(const void*) {
    return nullptr;
}

} // namespace korvane

#endif
