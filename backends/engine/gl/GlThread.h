// The GL state of one thread for one EGL display: its context, the program, the plane textures and
// a framebuffer per view size. Created on the thread's first GL view and destroyed when the thread
// ends; every GL object is made, used and deleted on that thread only.
#ifndef KORVANE_GL_THREAD_H
#define KORVANE_GL_THREAD_H

#include "GlDisplay.h"
#include "GlRenderer.h"
#include "GlUniforms.h"

#include <memory>
#include <string>
#include <vector>

namespace korvane {

class CLS_GlThread {
public:
    // The calling thread's state for _tDisplay; null (with the reason) when GL cannot work on it.
    static CLS_GlThread* Get(const STRUCT_GlDisplay& _tDisplay, std::string* _pstrWhy);
    ~CLS_GlThread();

    // Makes the context current without a surface (off-screen drawing).
    bool MakeCurrent();
    void Finish() { m_gl.glFinish(); }

    // Draws into a framebuffer of _tDst's size and reads it back into _tDst (see GlDrawView).
    n_GlResult Draw(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                    const STRUCT_TargetBuffer& _tDst, n_GlOutput _eOutput, bool _blReadBack,
                    std::string* _pstrWhy);
    // Draws into the X11 window's EGL surface and swaps (see GlDrawWindow).
    n_GlResult DrawWindow(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                          const STRUCT_NativeWindow& _tWindow, std::string* _pstrWhy);

private:
    struct STRUCT_Texture {
        GLuint m_uName = 0;
        GLenum m_eFormat = 0;
        int m_iWidth = 0;
        int m_iHeight = 0;
    };
    struct STRUCT_Framebuffer {
        GLuint m_uFramebuffer = 0;
        GLuint m_uColour = 0;
        int m_iWidth = 0;
        int m_iHeight = 0;
        unsigned long long m_ullUsed = 0;
    };
    static constexpr int PLANES = 3;
    static constexpr int MAX_FRAMEBUFFERS = 16; // view sizes kept per thread

    explicit CLS_GlThread(const STRUCT_GlDisplay& _tDisplay)
        : m_gl(*_tDisplay.m_pGl), m_display(_tDisplay.m_display), m_config(_tDisplay.m_config) {}
    bool Init(std::string* _pstrWhy);
    GLuint Compile(GLenum _eKind, const char* _pcSource, std::string* _pstrWhy);
    // What the view needs before its draw: the sizes and parameters checked (NotForGl for what the
    // CPU renderer's tables refuse), the context current, the picture uploaded.
    n_GlResult Prepare(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView, std::string* _pstrWhy);
    bool Upload(const Frame& _tFrame, std::string* _pstrWhy);
    void UploadPlane(int _iPlane, GLenum _eFormat, GLenum _eLayout, int _iBytes, int _iWidth, int _iHeight,
                     const std::uint8_t* _pcData, int _iStride);
    const STRUCT_Framebuffer* Framebuffer(int _iWidth, int _iHeight, std::string* _pstrWhy);
    // One draw of the view into the bound framebuffer or surface; _blFlip: rows from the bottom.
    void DrawView(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView, n_GlOutput _eOutput,
                  bool _blFlip);
    void SetUniforms(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView, n_GlOutput _eOutput,
                     bool _blFlip);
    // The framebuffer's pixels into _tDst, in its format.
    void ReadBack(const STRUCT_TargetBuffer& _tDst);
    void Delete(STRUCT_Framebuffer& _tBuffer) {
        m_gl.glDeleteFramebuffers(1, &_tBuffer.m_uFramebuffer);
        m_gl.glDeleteRenderbuffers(1, &_tBuffer.m_uColour);
    }
    // The GL error raised since the last call, as a reason; empty when none.
    std::string Error(const char* _pcWhile);

    const STRUCT_GlApi& m_gl;
    const EGLDisplay m_display;
    const EGLConfig m_config;
    EGLContext m_context = EGL_NO_CONTEXT;
    bool m_blReady = false;
    std::string m_strWhy;
    GLuint m_uProgram = 0;
    GLuint m_uVertexArray = 0;
    GLint m_aiUniform[UNIFORMS] = {};
    GLint m_iMaxTexture = 0;
    STRUCT_Texture m_atTextures[PLANES];
    // The planes now in the textures: their owner while it lives (a picture's planes never change).
    std::weak_ptr<const void> m_wpUploaded;
    std::vector<STRUCT_Framebuffer> m_vecFramebuffers;
    unsigned long long m_ullDraws = 0;
    std::vector<std::uint8_t> m_vecRead;
};

// "0x" and four hexadecimal digits: how EGL and GL error codes are said.
std::string GlHex(unsigned _uCode);

} // namespace korvane

#endif // KORVANE_GL_THREAD_H
