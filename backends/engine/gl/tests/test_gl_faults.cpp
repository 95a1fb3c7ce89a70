// The GL renderer meeting GL failures at run time: a shader that does not compile, no context,
// and a context lost after pictures were drawn. Each failure is brought about by replacing one
// entry of the process's EGL/OpenGL ES table (GlApi) before the renderer uses it; the renderer
// must log it once and go on with the CPU renderer's pictures. CTest runs each test in a process
// of its own: a thread's GL state and the log's memory last for the process.
#include "EngineLog.h"
#include "GlTestSupport.h"
#include "RendererChoice.h"
#include "gl/GlApi.h"
#include "gl/GlRenderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace korvane;
using namespace gltest;

namespace {

// The process's table, which the tests change; null (and the test skipped by its caller's
// ASSERT) when there is no EGL.
STRUCT_GlApi* Api() {
    return const_cast<STRUCT_GlApi*>(GlApi(nullptr));
}

// Each replacement keeps the function it replaces here.
STRUCT_GlApi g_tReal;

void BrokenShaderSource(GLuint _uShader, GLsizei, const GLchar* const*, const GLint*) {
    const GLchar* pcBroken = "#version 300 es\nvoid main() { this is no shader }\n";
    g_tReal.glShaderSource(_uShader, 1, &pcBroken, nullptr);
}

EGLContext NoContext(EGLDisplay, EGLConfig, EGLContext, const EGLint*) {
    return EGL_NO_CONTEXT;
}

EGLint BadAlloc() {
    return EGL_BAD_ALLOC;
}

GLenum ContextLost() {
    return 0x0507; // GL_CONTEXT_LOST (OpenGL ES 3.2, KHR_robustness)
}

struct STRUCT_Views {
    std::vector<std::uint8_t> m_vecFirst;
    std::vector<std::uint8_t> m_vecSecond;
};

// A PTZ view of _tFrame drawn by two GL view renderers, and the log they wrote.
STRUCT_Views RenderTwoViews(CLS_GlViewRenderer& _first, CLS_GlViewRenderer& _second, const Frame& _tFrame,
                            std::string* _pstrLog) {
    ViewParams tParams;
    tParams.m_iKind = n_ViewKind_PTZ;
    tParams.m_iMountMode = 2;
    STRUCT_Views tViews;
    tViews.m_vecFirst.assign(static_cast<size_t>(VIEW_WIDTH) * VIEW_HEIGHT * 3, 7);
    tViews.m_vecSecond = tViews.m_vecFirst;
    *_pstrLog = gltest::CaptureStderr([&] {
        _first.Render(
            _tFrame, tParams,
            {tViews.m_vecFirst.data(), VIEW_WIDTH, VIEW_HEIGHT, VIEW_WIDTH * 3, n_PixelFormat::Rgb24});
        _second.Render(
            _tFrame, tParams,
            {tViews.m_vecSecond.data(), VIEW_WIDTH, VIEW_HEIGHT, VIEW_WIDTH * 3, n_PixelFormat::Rgb24});
    });
    return tViews;
}

// The PTZ view of RenderTwoViews as the CPU renderer draws it.
std::vector<std::uint8_t> RenderCpu(const Frame& _tFrame) {
    ViewParams tParams;
    tParams.m_iKind = n_ViewKind_PTZ;
    tParams.m_iMountMode = 2;
    return gltest::RenderCpu(_tFrame, tParams, n_PixelFormat::Rgb24);
}

const std::string CPU_TAKES_OVER = "; views are drawn by the CPU renderer\n";

TEST(GlFault, AShaderThatDoesNotCompileIsLoggedOnceAndTheCpuRendererDraws) {
    STRUCT_GlApi* pApi = Api();
    ASSERT_NE(pApi, nullptr) << "no EGL and OpenGL ES libraries";
    g_tReal = *pApi;
    pApi->glShaderSource = BrokenShaderSource;
    const Frame tFrame = MakePicture(fisheye::n_YuvLayout::I420, 160, 120, false);
    CLS_GlViewRenderer first;
    CLS_GlViewRenderer second;
    std::string strLog;
    const STRUCT_Views tViews = RenderTwoViews(first, second, tFrame, &strLog);
    const std::string strPrefix = "Korvane: GL renderer: the vertex shader does not compile: ";
    EXPECT_EQ(strLog.compare(0, strPrefix.size(), strPrefix), 0) << strLog;
    ASSERT_GE(strLog.size(), strPrefix.size() + CPU_TAKES_OVER.size()) << strLog;
    EXPECT_EQ(strLog.substr(strLog.size() - CPU_TAKES_OVER.size()), CPU_TAKES_OVER) << strLog;
    EXPECT_EQ(std::count(strLog.begin(), strLog.end(), '\n'), 1) << strLog;
    EXPECT_EQ(tViews.m_vecFirst, RenderCpu(tFrame));
    EXPECT_EQ(tViews.m_vecSecond, RenderCpu(tFrame));
    EXPECT_EQ(CurrentRenderer(), n_Renderer_Cpu);
}

TEST(GlFault, NoContextIsLoggedOnceAndTheCpuRendererDraws) {
    STRUCT_GlApi* pApi = Api();
    ASSERT_NE(pApi, nullptr) << "no EGL and OpenGL ES libraries";
    g_tReal = *pApi;
    pApi->eglCreateContext = NoContext;
    pApi->eglGetError = BadAlloc;
    const Frame tFrame = MakePicture(fisheye::n_YuvLayout::I420, 160, 120, false);
    CLS_GlViewRenderer first;
    CLS_GlViewRenderer second;
    std::string strLog;
    const STRUCT_Views tViews = RenderTwoViews(first, second, tFrame, &strLog);
    EXPECT_EQ(strLog, "Korvane: GL renderer: no OpenGL ES 3 context (EGL error 0x3003)" + CPU_TAKES_OVER);
    EXPECT_EQ(tViews.m_vecFirst, RenderCpu(tFrame));
    EXPECT_EQ(tViews.m_vecSecond, RenderCpu(tFrame));
    EXPECT_EQ(CurrentRenderer(), n_Renderer_Cpu);
}

TEST(GlFault, AContextLostAfterPicturesIsLoggedOnceAndTheCpuRendererCarriesOn) {
    STRUCT_GlApi* pApi = Api();
    ASSERT_NE(pApi, nullptr) << "no EGL and OpenGL ES libraries";
    g_tReal = *pApi;
    CLS_GlViewRenderer first;
    CLS_GlViewRenderer second;
    std::string strLog;
    // Drawn by GL while the context lives.
    const Frame tBefore = MakePicture(fisheye::n_YuvLayout::I420, 160, 120, false);
    const STRUCT_Views tDrawn = RenderTwoViews(first, second, tBefore, &strLog);
    ASSERT_EQ(strLog, "");
    ASSERT_EQ(CurrentRenderer(), n_Renderer_Gl);
    EXPECT_GE(Psnr(tDrawn.m_vecFirst, RenderCpu(tBefore)), MIN_PSNR);
    // The context is lost: the next picture's upload says so.
    pApi->glGetError = ContextLost;
    const Frame tAfter = MakePicture(fisheye::n_YuvLayout::I420, 160, 120, true);
    const STRUCT_Views tLost = RenderTwoViews(first, second, tAfter, &strLog);
    EXPECT_EQ(strLog, "Korvane: GL renderer: GL error 0x0507 while uploading a picture" + CPU_TAKES_OVER);
    EXPECT_EQ(tLost.m_vecFirst, RenderCpu(tAfter));
    EXPECT_EQ(tLost.m_vecSecond, RenderCpu(tAfter));
    EXPECT_EQ(CurrentRenderer(), n_Renderer_Cpu);
    // And later pictures, with no further line.
    const STRUCT_Views tLater = RenderTwoViews(first, second, tBefore, &strLog);
    EXPECT_EQ(strLog, "");
    EXPECT_EQ(tLater.m_vecFirst, RenderCpu(tBefore));
}

} // namespace
