// The choice of the views' renderer; see RendererChoice.h.
#include "RendererChoice.h"

#include "EngineLog.h"
#include "ViewRenderer.h"
#ifdef KORVANE_WITH_GL
#include "gl/GlRenderer.h"
#endif

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>

namespace korvane {

namespace {

constexpr const char* RENDERER_VARIABLE = "KORVANE_RENDERER";

enum class n_Mode : int { Auto, Gl, Cpu };

n_Mode ReadMode() {
    const char* pcValue = std::getenv(RENDERER_VARIABLE);
    if (!pcValue || !*pcValue || std::strcmp(pcValue, "auto") == 0)
        return n_Mode::Auto;
    if (std::strcmp(pcValue, "gl") == 0)
        return n_Mode::Gl;
    if (std::strcmp(pcValue, "cpu") == 0)
        return n_Mode::Cpu;
    LogOnce(std::string(RENDERER_VARIABLE) + "=\"" + pcValue + "\" is not one of gl, cpu, auto: using auto");
    return n_Mode::Auto;
}

n_Renderer Select() {
    const n_Mode eMode = ReadMode();
#ifdef KORVANE_WITH_GL
    if (n_Mode::Gl == eMode || (n_Mode::Auto == eMode && GlHasGpu()))
        return n_Renderer_Gl;
#else
    if (n_Mode::Gl == eMode)
        LogOnce(std::string(RENDERER_VARIABLE) +
                "=gl: this engine is built without the GL renderer; views are drawn by the CPU renderer");
#endif
    return n_Renderer_Cpu;
}

std::atomic<int> g_iLastDrawn{0};

} // namespace

n_Renderer SelectedRenderer() {
    static const n_Renderer s_eRenderer = Select();
    return s_eRenderer;
}

void NoteDrawn(n_Renderer _eRenderer) {
    g_iLastDrawn.store(_eRenderer, std::memory_order_relaxed);
}

n_Renderer CurrentRenderer() {
    const int iLast = g_iLastDrawn.load(std::memory_order_relaxed);
    return iLast ? static_cast<n_Renderer>(iLast) : SelectedRenderer();
}

std::unique_ptr<CLS_ViewRenderer> CreateViewRenderer(int) {
#ifdef KORVANE_WITH_GL
    if (n_Renderer_Gl == SelectedRenderer())
        return std::make_unique<CLS_GlViewRenderer>();
#endif
    return std::make_unique<CLS_DewarpRenderer>();
}

} // namespace korvane
