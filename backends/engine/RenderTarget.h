// Where the engine shows a view: one interface for every kind of output (off-screen surfaces, X11
// windows, nothing), chosen once per window. A renderer draws straight into the buffer a target
// hands out, in the target's own pixel format, so no picture is converted twice.
#ifndef KORVANE_RENDER_TARGET_H
#define KORVANE_RENDER_TARGET_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace korvane {

struct Frame;
struct ViewParams;
class CLS_ViewRenderer;

// The pixel layouts targets ask for.
enum class n_PixelFormat : int {
    Rgb24,  // 3 bytes a pixel: red, green, blue (surfaces, captures)
    Bgrx32, // 4 bytes a pixel: blue, green, red, unused (X11 24-bit visuals, little-endian)
};

int BytesPerPixel(n_PixelFormat _eFormat);

// A buffer to draw one picture into: m_iStride bytes a row (at least width * bytes a pixel), rows
// top to bottom.
struct STRUCT_TargetBuffer {
    std::uint8_t* m_pData = nullptr;
    int m_iWidth = 0;
    int m_iHeight = 0;
    int m_iStride = 0;
    n_PixelFormat m_eFormat = n_PixelFormat::Rgb24;
};

// An X11 window that a renderer may draw into by itself (a GL window surface) rather than through a
// buffer: the engine's XCB connection (an xcb_connection_t) and screen, the window and its size.
// *m_ppGlSurface is the target's slot for the renderer's surface of the window, which lives as long
// as the target.
struct STRUCT_NativeWindow {
    void* m_pXcb = nullptr;
    int m_iScreen = 0;
    std::uint32_t m_uWindow = 0;
    int m_iWidth = 0;
    int m_iHeight = 0;
    std::shared_ptr<void>* m_ppGlSurface = nullptr;
};

// One output. Draw() serialises pictures on the target (several players may show into one window),
// acquires a buffer of the target's current size, lets the caller fill it and presents it.
// DrawView() is how the engine shows a view: the renderer draws into the target's native window
// where both can (GL into an X11 window's surface), else it fills the buffer the target hands out.
class CLS_RenderTarget {
public:
    virtual ~CLS_RenderTarget() = default;

    // False once the window or surface behind it went away: the engine then chooses again.
    virtual bool IsAlive() const { return true; }

    // Shows view _tParams of picture _tFrame; false when nothing could be shown.
    virtual bool DrawView(const Frame& _tFrame, const ViewParams& _tParams, CLS_ViewRenderer& _renderer);

    // Acquires a buffer, calls _fnDraw(buffer) and presents it. False (nothing drawn) when the
    // target cannot show anything now (a window of no size, a display gone).
    template <typename Fn> bool Draw(Fn&& _fnDraw) {
        std::lock_guard<std::mutex> lock(m_drawMutex);
        STRUCT_TargetBuffer tBuffer;
        if (!Acquire(&tBuffer))
            return false;
        _fnDraw(static_cast<const STRUCT_TargetBuffer&>(tBuffer));
        Present();
        return true;
    }

protected:
    // Both run with the draw lock held.
    virtual bool Acquire(STRUCT_TargetBuffer* _ptBuffer) = 0;
    virtual void Present() = 0;
    // The native window behind the target, where a renderer may draw into it by itself; false for
    // targets that are no window (the default) or a window that cannot show anything now. Runs
    // with the draw lock held.
    virtual bool NativeWindow(STRUCT_NativeWindow*) { return false; }
    // Held by Draw; a target that is also read from outside (a surface) reads under it too.
    std::mutex m_drawMutex;
};

// An off-screen surface of a fixed size, RGB24 (KW_Ext_CreateSurface): its pixels are read back by
// the host.
class CLS_SurfaceTarget : public CLS_RenderTarget {
public:
    // _iWidth and _iHeight at least 1; throws std::bad_alloc when the pixels cannot be allocated.
    CLS_SurfaceTarget(int _iWidth, int _iHeight);
    bool IsAlive() const override { return m_blAlive.load(); }
    // Called when the host destroys the surface: views stop showing into it.
    void Destroy() { m_blAlive.store(false); }
    int Width() const { return m_iWidth; }
    int Height() const { return m_iHeight; }
    // Runs _fnRead(pixels, pictures presented so far) with no picture being drawn.
    template <typename Fn> auto Read(Fn&& _fnRead) {
        std::lock_guard<std::mutex> lock(m_drawMutex);
        return _fnRead(static_cast<const std::vector<std::uint8_t>&>(m_vecRgb), m_iPresented);
    }

protected:
    bool Acquire(STRUCT_TargetBuffer* _ptBuffer) override;
    void Present() override;

private:
    const int m_iWidth;
    const int m_iHeight;
    std::vector<std::uint8_t> m_vecRgb;
    int m_iPresented = 0;
    std::atomic<bool> m_blAlive{true};
};

// A target that shows nothing. Of size 0 (a window handle that is neither a surface nor a window
// of the display) it refuses every picture, so no work is done for it; of a size, it hands out a
// buffer that is dropped on present, which measures rendering without any output (benchmarks).
class CLS_NullTarget : public CLS_RenderTarget {
public:
    CLS_NullTarget() = default;
    CLS_NullTarget(int _iWidth, int _iHeight, n_PixelFormat _eFormat);
    int Presented() const { return m_iPresented.load(); }

protected:
    bool Acquire(STRUCT_TargetBuffer* _ptBuffer) override;
    void Present() override { m_iPresented.fetch_add(1); }

private:
    STRUCT_TargetBuffer m_tBuffer;
    std::vector<std::uint8_t> m_vecPixels;
    std::atomic<int> m_iPresented{0};
};

// The X11 window _pWindow of the display named by DISPLAY as a target, or null when there is no
// display or the handle is no window of it. One target per window: asking again for a window gives
// the same target while it lives. Its geometry is read once and then followed through the window's
// configure events; its buffers are kept across pictures (shared memory where a server on this
// machine offers MIT-SHM).
std::shared_ptr<CLS_RenderTarget> OpenX11Target(const void* _pWindow);

} // namespace korvane

#endif // KORVANE_RENDER_TARGET_H
