// The GL renderer; see GlRenderer.h.
#include "GlRenderer.h"

#include "EngineLog.h"
#include "GlDisplay.h"
#include "RendererChoice.h"
#include "dewarp/Dewarp.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

namespace korvane {

namespace {

constexpr int MAX_FRAMEBUFFERS = 16; // view sizes kept per thread
constexpr int PLANES = 3;

// Names of the fragment shader's uniforms, in the order of STRUCT_Uniforms' members.
constexpr const char* UNIFORM_NAMES[] = {
    "uKind",          "uMount",  "uArea",      "uOutSize", "uHalfField", "uShift",   "uEast",
    "uNorth",         "uUp",     "uForward",   "uRight",   "uViewUp",    "uTanHalf", "uChromaSize",
    "uChromaTanHalf", "uPlanes", "uFullRange", "uOutput",  "uPlane0",    "uPlane1",  "uPlane2"};
constexpr int UNIFORMS = static_cast<int>(sizeof(UNIFORM_NAMES) / sizeof(UNIFORM_NAMES[0]));
enum n_Uniform : int {
    KIND,
    MOUNT,
    AREA,
    OUT_SIZE,
    HALF_FIELD,
    SHIFT,
    EAST,
    NORTH,
    UP,
    FORWARD,
    RIGHT,
    VIEW_UP,
    TAN_HALF,
    CHROMA_SIZE,
    CHROMA_TAN_HALF,
    PLANES_KIND,
    FULL_RANGE,
    OUTPUT,
    PLANE0
};

std::string Hex(unsigned _uCode) {
    char acText[16];
    std::snprintf(acText, sizeof(acText), "0x%04x", _uCode);
    return acText;
}

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

// The GL state of one thread: its context, the program, the plane textures and a framebuffer per
// view size. Created on the thread's first GL view and destroyed when the thread ends.
class CLS_GlThread {
public:
    // The calling thread's state; null (with the reason) when GL cannot work on it.
    static CLS_GlThread* Get(std::string* _pstrWhy) {
        thread_local std::unique_ptr<CLS_GlThread> t_pThread;
        if (!t_pThread) {
            if (!GlDisplay().m_strWhy.empty()) {
                *_pstrWhy = GlDisplay().m_strWhy;
                return nullptr;
            }
            t_pThread.reset(new CLS_GlThread);
            t_pThread->m_blReady = t_pThread->Init(&t_pThread->m_strWhy);
        }
        if (!t_pThread->m_blReady) {
            *_pstrWhy = t_pThread->m_strWhy;
            return nullptr;
        }
        return t_pThread.get();
    }

    ~CLS_GlThread() {
        if (m_context == EGL_NO_CONTEXT)
            return;
        if (MakeCurrent()) {
            for (STRUCT_Texture& tTexture : m_atTextures)
                m_gl.glDeleteTextures(1, &tTexture.m_uName);
            for (STRUCT_Framebuffer& tBuffer : m_vecFramebuffers)
                Delete(tBuffer);
            m_gl.glDeleteVertexArrays(1, &m_uVertexArray);
            m_gl.glDeleteProgram(m_uProgram);
        }
        m_gl.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        m_gl.eglDestroyContext(m_display, m_context);
        m_gl.eglReleaseThread();
    }

    bool MakeCurrent() {
        return m_gl.eglGetCurrentContext() == m_context ||
               m_gl.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, m_context);
    }

    n_GlResult Draw(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                    const STRUCT_TargetBuffer& _tDst, n_GlOutput _eOutput, bool _blReadBack,
                    std::string* _pstrWhy);

private:
    CLS_GlThread() : m_gl(*GlDisplay().m_pGl), m_display(GlDisplay().m_display) {}
    bool Init(std::string* _pstrWhy);
    GLuint Compile(GLenum _eKind, const char* _pcSource, std::string* _pstrWhy);
    bool Upload(const Frame& _tFrame, std::string* _pstrWhy);
    void UploadPlane(int _iPlane, GLenum _eFormat, GLenum _eLayout, int _iBytes, int _iWidth, int _iHeight,
                     const std::uint8_t* _pcData, int _iStride);
    const STRUCT_Framebuffer* Framebuffer(int _iWidth, int _iHeight, std::string* _pstrWhy);
    // The framebuffer's pixels into _tDst, in its format.
    void ReadBack(const STRUCT_TargetBuffer& _tDst);
    void SetUniforms(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView, n_GlOutput _eOutput);
    void Delete(STRUCT_Framebuffer& _tBuffer) {
        m_gl.glDeleteFramebuffers(1, &_tBuffer.m_uFramebuffer);
        m_gl.glDeleteRenderbuffers(1, &_tBuffer.m_uColour);
    }
    // The GL error raised since the last call, as a reason; empty when none.
    std::string Error(const char* _pcWhile) {
        const GLenum eError = m_gl.glGetError();
        return eError == GL_NO_ERROR ? std::string() : "GL error " + Hex(eError) + " while " + _pcWhile;
    }

    const STRUCT_GlApi& m_gl;
    const EGLDisplay m_display;
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

bool CLS_GlThread::Init(std::string* _pstrWhy) {
    const STRUCT_GlDisplay& tDisplay = GlDisplay();
    if (!tDisplay.m_strWhy.empty()) {
        *_pstrWhy = tDisplay.m_strWhy;
        return false;
    }
    // The API is chosen per thread.
    if (!m_gl.eglBindAPI(EGL_OPENGL_ES_API)) {
        *_pstrWhy = "eglBindAPI(EGL_OPENGL_ES_API) failed";
        return false;
    }
    const EGLint aiAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    m_context = m_gl.eglCreateContext(m_display, tDisplay.m_config, EGL_NO_CONTEXT, aiAttributes);
    if (m_context == EGL_NO_CONTEXT) {
        *_pstrWhy =
            "no OpenGL ES 3 context (EGL error " + Hex(static_cast<unsigned>(m_gl.eglGetError())) + ")";
        return false;
    }
    if (!MakeCurrent()) {
        *_pstrWhy = "cannot make the OpenGL ES 3 context current";
        return false;
    }
    const GLuint uVertex = Compile(GL_VERTEX_SHADER, GL_VERTEX_SOURCE, _pstrWhy);
    const GLuint uFragment = uVertex ? Compile(GL_FRAGMENT_SHADER, GL_FRAGMENT_SOURCE, _pstrWhy) : 0;
    if (!uVertex || !uFragment) {
        m_gl.glDeleteShader(uVertex);
        return false;
    }
    m_uProgram = m_gl.glCreateProgram();
    m_gl.glAttachShader(m_uProgram, uVertex);
    m_gl.glAttachShader(m_uProgram, uFragment);
    m_gl.glLinkProgram(m_uProgram);
    m_gl.glDeleteShader(uVertex);
    m_gl.glDeleteShader(uFragment);
    GLint iLinked = GL_FALSE;
    m_gl.glGetProgramiv(m_uProgram, GL_LINK_STATUS, &iLinked);
    if (iLinked != GL_TRUE) {
        char acLog[512] = {};
        m_gl.glGetProgramInfoLog(m_uProgram, sizeof(acLog), nullptr, acLog);
        *_pstrWhy = std::string("the shader program does not link: ") + acLog;
        return false;
    }
    m_gl.glUseProgram(m_uProgram);
    for (int i = 0; i < UNIFORMS; ++i)
        m_aiUniform[i] = m_gl.glGetUniformLocation(m_uProgram, UNIFORM_NAMES[i]);
    for (int i = 0; i < PLANES; ++i) {
        m_gl.glUniform1i(m_aiUniform[PLANE0 + i], i);
        m_gl.glGenTextures(1, &m_atTextures[i].m_uName);
    }
    m_gl.glGenVertexArrays(1, &m_uVertexArray);
    m_gl.glGetIntegerv(GL_MAX_TEXTURE_SIZE, &m_iMaxTexture);
    *_pstrWhy = Error("setting up the shader program");
    return _pstrWhy->empty();
}

GLuint CLS_GlThread::Compile(GLenum _eKind, const char* _pcSource, std::string* _pstrWhy) {
    const GLuint uShader = m_gl.glCreateShader(_eKind);
    m_gl.glShaderSource(uShader, 1, &_pcSource, nullptr);
    m_gl.glCompileShader(uShader);
    GLint iCompiled = GL_FALSE;
    m_gl.glGetShaderiv(uShader, GL_COMPILE_STATUS, &iCompiled);
    if (iCompiled == GL_TRUE)
        return uShader;
    char acLog[512] = {};
    m_gl.glGetShaderInfoLog(uShader, sizeof(acLog), nullptr, acLog);
    *_pstrWhy = std::string(GL_VERTEX_SHADER == _eKind ? "the vertex" : "the fragment") +
                " shader does not compile: " + acLog;
    m_gl.glDeleteShader(uShader);
    return 0;
}

void CLS_GlThread::UploadPlane(int _iPlane, GLenum _eFormat, GLenum _eLayout, int _iBytes, int _iWidth,
                               int _iHeight, const std::uint8_t* _pcData, int _iStride) {
    STRUCT_Texture& tTexture = m_atTextures[_iPlane];
    m_gl.glActiveTexture(GL_TEXTURE0 + _iPlane);
    m_gl.glBindTexture(GL_TEXTURE_2D, tTexture.m_uName);
    if (tTexture.m_eFormat != _eFormat || tTexture.m_iWidth != _iWidth || tTexture.m_iHeight != _iHeight) {
        m_gl.glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(_eFormat), _iWidth, _iHeight, 0, _eLayout,
                          GL_UNSIGNED_BYTE, nullptr);
        m_gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        m_gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        m_gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        m_gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        tTexture = {tTexture.m_uName, _eFormat, _iWidth, _iHeight};
    }
    m_gl.glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (_iStride % _iBytes == 0) {
        m_gl.glPixelStorei(GL_UNPACK_ROW_LENGTH, _iStride / _iBytes);
        m_gl.glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, _iWidth, _iHeight, _eLayout, GL_UNSIGNED_BYTE, _pcData);
        m_gl.glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        return;
    }
    for (int y = 0; y < _iHeight; ++y) // rows that are no whole number of pixels apart
        m_gl.glTexSubImage2D(GL_TEXTURE_2D, 0, 0, y, _iWidth, 1, _eLayout, GL_UNSIGNED_BYTE,
                             _pcData + static_cast<size_t>(y) * _iStride);
}

bool CLS_GlThread::Upload(const Frame& _tFrame, std::string* _pstrWhy) {
    if (_tFrame.HasPlanes() && !m_wpUploaded.expired() && !m_wpUploaded.owner_before(_tFrame.m_pPlanes) &&
        !_tFrame.m_pPlanes.owner_before(m_wpUploaded))
        return true; // this picture's planes are in the textures already
    m_wpUploaded.reset();
    const int iWidth = _tFrame.m_iWidth;
    const int iHeight = _tFrame.m_iHeight;
    if (!_tFrame.HasPlanes()) {
        // RGB pictures carry nothing that tells one from the next: uploaded for every view.
        UploadPlane(0, GL_RGB8, GL_RGB, 3, iWidth, iHeight, _tFrame.m_vecRgb.data(), iWidth * 3);
    } else {
        const fisheye::STRUCT_YuvImage& tPlanes = _tFrame.m_tPlanes;
        int iChromaWidth = 0;
        int iChromaHeight = 0;
        fisheye::ChromaSize(tPlanes.m_eLayout, iWidth, iHeight, &iChromaWidth, &iChromaHeight);
        UploadPlane(0, GL_R8, GL_RED, 1, iWidth, iHeight, tPlanes.m_apcPlane[0], tPlanes.m_aiStride[0]);
        if (fisheye::n_YuvLayout::Nv12 == tPlanes.m_eLayout) {
            UploadPlane(1, GL_RG8, GL_RG, 2, iChromaWidth, iChromaHeight, tPlanes.m_apcPlane[1],
                        tPlanes.m_aiStride[1]);
        } else {
            for (int i = 1; i < PLANES; ++i)
                UploadPlane(i, GL_R8, GL_RED, 1, iChromaWidth, iChromaHeight, tPlanes.m_apcPlane[i],
                            tPlanes.m_aiStride[i]);
        }
    }
    *_pstrWhy = Error("uploading a picture");
    if (!_pstrWhy->empty())
        return false;
    if (_tFrame.HasPlanes())
        m_wpUploaded = _tFrame.m_pPlanes;
    return true;
}

const STRUCT_Framebuffer* CLS_GlThread::Framebuffer(int _iWidth, int _iHeight, std::string* _pstrWhy) {
    ++m_ullDraws;
    STRUCT_Framebuffer* pOldest = nullptr;
    for (STRUCT_Framebuffer& tBuffer : m_vecFramebuffers) {
        if (tBuffer.m_iWidth == _iWidth && tBuffer.m_iHeight == _iHeight) {
            tBuffer.m_ullUsed = m_ullDraws;
            m_gl.glBindFramebuffer(GL_FRAMEBUFFER, tBuffer.m_uFramebuffer);
            return &tBuffer;
        }
        if (!pOldest || tBuffer.m_ullUsed < pOldest->m_ullUsed)
            pOldest = &tBuffer;
    }
    if (static_cast<int>(m_vecFramebuffers.size()) >= MAX_FRAMEBUFFERS) {
        Delete(*pOldest);
        *pOldest = m_vecFramebuffers.back();
        m_vecFramebuffers.pop_back();
    }
    STRUCT_Framebuffer tBuffer{0, 0, _iWidth, _iHeight, m_ullDraws};
    m_gl.glGenFramebuffers(1, &tBuffer.m_uFramebuffer);
    m_gl.glGenRenderbuffers(1, &tBuffer.m_uColour);
    m_gl.glBindRenderbuffer(GL_RENDERBUFFER, tBuffer.m_uColour);
    m_gl.glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, _iWidth, _iHeight);
    m_gl.glBindFramebuffer(GL_FRAMEBUFFER, tBuffer.m_uFramebuffer);
    m_gl.glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, tBuffer.m_uColour);
    const GLenum eStatus = m_gl.glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (eStatus != GL_FRAMEBUFFER_COMPLETE) {
        *_pstrWhy = "a " + std::to_string(_iWidth) + "x" + std::to_string(_iHeight) +
                    " framebuffer is incomplete (" + Hex(eStatus) + ")";
        Delete(tBuffer);
        return nullptr;
    }
    m_vecFramebuffers.push_back(tBuffer);
    return &m_vecFramebuffers.back();
}

void CLS_GlThread::SetUniforms(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                               n_GlOutput _eOutput) {
    fisheye::CLS_FisheyeGeometry geometry;
    geometry.SetLens(_tView.m_dField, 1.0); // checked by the caller
    // The chroma grid as the CPU renderer's: half the view each way, rounded up.
    const int iChromaWidth = (_tView.m_iWidth + 1) / 2;
    const int iChromaHeight = (_tView.m_iHeight + 1) / 2;
    auto ptz = [&](int _iWidth, int _iHeight) {
        return geometry.PtzView(_tView.m_eMount, {_tView.m_iPtzX / 10000.0, _tView.m_iPtzY / 10000.0},
                                _tView.m_iPtzZoom / 10000.0, static_cast<double>(_iWidth) / _iHeight);
    };
    const fisheye::STRUCT_ViewFrame tPtz = ptz(_tView.m_iWidth, _tView.m_iHeight);
    const fisheye::STRUCT_ViewFrame tChromaPtz = ptz(iChromaWidth, iChromaHeight);
    const fisheye::STRUCT_MountBasis tBasis = fisheye::MountBasis(_tView.m_eMount);
    auto vec3 = [this](int _iUniform, const fisheye::STRUCT_Vec3& _t) {
        m_gl.glUniform3f(m_aiUniform[_iUniform], static_cast<float>(_t.m_dX), static_cast<float>(_t.m_dY),
                         static_cast<float>(_t.m_dZ));
    };
    static const int s_aiKind[] = {n_GlKind_Source, n_GlKind_Fisheye,  n_GlKind_Ptz,
                                   n_GlKind_Half,   n_GlKind_Panorama, n_GlKind_Lat};
    m_gl.glUniform1i(m_aiUniform[KIND], s_aiKind[static_cast<int>(_tView.m_eKind)]);
    m_gl.glUniform1i(m_aiUniform[MOUNT], static_cast<int>(_tView.m_eMount));
    m_gl.glUniform4f(m_aiUniform[AREA], static_cast<float>(_tView.m_tArea.m_dLeft),
                     static_cast<float>(_tView.m_tArea.m_dRight), static_cast<float>(_tView.m_tArea.m_dTop),
                     static_cast<float>(_tView.m_tArea.m_dBottom));
    m_gl.glUniform2f(m_aiUniform[OUT_SIZE], static_cast<float>(_tView.m_iWidth),
                     static_cast<float>(_tView.m_iHeight));
    m_gl.glUniform1f(m_aiUniform[HALF_FIELD], static_cast<float>(geometry.HalfField()));
    const double dTurn = fisheye::n_ViewKind::Half == _tView.m_eKind ? 180.0 : 360.0;
    m_gl.glUniform1f(m_aiUniform[SHIFT], static_cast<float>(std::fmod(_tView.m_dRotation / dTurn, 2.0)));
    vec3(EAST, tBasis.m_tEast);
    vec3(NORTH, tBasis.m_tNorth);
    vec3(UP, tBasis.m_tUp);
    vec3(FORWARD, tPtz.m_tForward);
    vec3(RIGHT, tPtz.m_tRight);
    vec3(VIEW_UP, tPtz.m_tUp);
    m_gl.glUniform2f(m_aiUniform[TAN_HALF], static_cast<float>(tPtz.m_dTanHalfWidth),
                     static_cast<float>(tPtz.m_dTanHalfHeight));
    m_gl.glUniform2f(m_aiUniform[CHROMA_SIZE], static_cast<float>(iChromaWidth),
                     static_cast<float>(iChromaHeight));
    m_gl.glUniform2f(m_aiUniform[CHROMA_TAN_HALF], static_cast<float>(tChromaPtz.m_dTanHalfWidth),
                     static_cast<float>(tChromaPtz.m_dTanHalfHeight));
    const int iPlanes = !_tFrame.HasPlanes()                                        ? n_GlPlanes_Rgb
                        : fisheye::n_YuvLayout::Nv12 == _tFrame.m_tPlanes.m_eLayout ? n_GlPlanes_Nv12
                                                                                    : n_GlPlanes_Yuv;
    m_gl.glUniform1i(m_aiUniform[PLANES_KIND], iPlanes);
    m_gl.glUniform1i(m_aiUniform[FULL_RANGE], _tFrame.HasPlanes() && _tFrame.m_tPlanes.m_blFullRange ? 1 : 0);
    m_gl.glUniform1i(m_aiUniform[OUTPUT], _eOutput);
}

void CLS_GlThread::ReadBack(const STRUCT_TargetBuffer& _tDst) {
    const int iWidth = _tDst.m_iWidth;
    const int iHeight = _tDst.m_iHeight;
    const int iPixel = BytesPerPixel(_tDst.m_eFormat);
    m_gl.glPixelStorei(GL_PACK_ALIGNMENT, 1);
    if (4 == iPixel && _tDst.m_iStride % 4 == 0) {
        m_gl.glPixelStorei(GL_PACK_ROW_LENGTH, _tDst.m_iStride / 4);
        m_gl.glReadPixels(0, 0, iWidth, iHeight, GL_RGBA, GL_UNSIGNED_BYTE, _tDst.m_pData);
        m_gl.glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    } else {
        // RGB targets: the rows read as RGBA, then packed.
        m_vecRead.resize(static_cast<size_t>(iWidth) * iHeight * 4);
        m_gl.glReadPixels(0, 0, iWidth, iHeight, GL_RGBA, GL_UNSIGNED_BYTE, m_vecRead.data());
        for (int y = 0; y < iHeight; ++y) {
            const std::uint8_t* pcRead = m_vecRead.data() + static_cast<size_t>(y) * iWidth * 4;
            std::uint8_t* pcRow = _tDst.m_pData + static_cast<size_t>(y) * _tDst.m_iStride;
            for (int x = 0; x < iWidth; ++x)
                std::memcpy(pcRow + static_cast<size_t>(x) * iPixel, pcRead + static_cast<size_t>(x) * 4,
                            static_cast<size_t>(iPixel));
        }
    }
}

n_GlResult CLS_GlThread::Draw(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                              const STRUCT_TargetBuffer& _tDst, n_GlOutput _eOutput, bool _blReadBack,
                              std::string* _pstrWhy) {
    const int iWidth = _tDst.m_iWidth;
    const int iHeight = _tDst.m_iHeight;
    const int iPixel = BytesPerPixel(_tDst.m_eFormat);
    const fisheye::STRUCT_YuvImage& tPlanes = _tFrame.m_tPlanes;
    bool blPlanes = true;
    for (int i = 0; _tFrame.HasPlanes() && i < (fisheye::n_YuvLayout::Nv12 == tPlanes.m_eLayout ? 2 : 3); ++i)
        blPlanes = blPlanes && tPlanes.m_apcPlane[i] && tPlanes.m_aiStride[i] > 0;
    fisheye::CLS_FisheyeGeometry lens;
    // What the CPU renderer's tables refuse, it shows by itself.
    if (!blPlanes || _tFrame.m_iWidth < 1 || _tFrame.m_iHeight < 1 || iWidth < 1 || iHeight < 1 ||
        _tDst.m_iStride < iWidth * iPixel || !fisheye::IsValidArea(_tView.m_tArea) ||
        !std::isfinite(_tView.m_dRotation) || !lens.SetLens(_tView.m_dField, 1.0) ||
        (!_tFrame.HasPlanes() &&
         _tFrame.m_vecRgb.size() < static_cast<size_t>(_tFrame.m_iWidth) * _tFrame.m_iHeight * 3))
        return n_GlResult::NotForGl;
    if (n_GlOutput_Position == _eOutput && n_PixelFormat::Bgrx32 != _tDst.m_eFormat) {
        *_pstrWhy = "source positions need a 4-byte target";
        return n_GlResult::Failed;
    }
    if (!MakeCurrent()) {
        *_pstrWhy = "the OpenGL ES 3 context was lost (EGL error " +
                    Hex(static_cast<unsigned>(m_gl.eglGetError())) + ")";
        return n_GlResult::Failed;
    }
    if (_tFrame.m_iWidth > m_iMaxTexture || _tFrame.m_iHeight > m_iMaxTexture) {
        *_pstrWhy = "a " + std::to_string(_tFrame.m_iWidth) + "x" + std::to_string(_tFrame.m_iHeight) +
                    " picture exceeds the largest texture (" + std::to_string(m_iMaxTexture) + ")";
        return n_GlResult::Failed;
    }
    if (!Upload(_tFrame, _pstrWhy) || !Framebuffer(iWidth, iHeight, _pstrWhy))
        return n_GlResult::Failed;
    m_gl.glViewport(0, 0, iWidth, iHeight);
    m_gl.glUseProgram(m_uProgram);
    SetUniforms(_tFrame, _tView, _eOutput);
    m_gl.glBindVertexArray(m_uVertexArray);
    m_gl.glDrawArrays(GL_TRIANGLES, 0, 3);
    if (_blReadBack)
        ReadBack(_tDst);
    *_pstrWhy = Error("drawing a view");
    return _pstrWhy->empty() ? n_GlResult::Drawn : n_GlResult::Failed;
}

} // namespace

n_GlResult GlDrawView(const Frame& _tFrame, const fisheye::STRUCT_ViewParams& _tView,
                      const STRUCT_TargetBuffer& _tDst, n_GlOutput _eOutput, std::string* _pstrWhy,
                      bool _blReadBack) {
    CLS_GlThread* pThread = CLS_GlThread::Get(_pstrWhy);
    return pThread ? pThread->Draw(_tFrame, _tView, _tDst, _eOutput, _blReadBack, _pstrWhy)
                   : n_GlResult::Failed;
}

bool GlHasGpu() {
    const STRUCT_GlDisplay& tDisplay = GlDisplay();
    return tDisplay.m_strWhy.empty() && tDisplay.m_blGpu;
}

bool GlFinish() {
    std::string strWhy;
    CLS_GlThread* pThread = CLS_GlThread::Get(&strWhy);
    if (!pThread || !pThread->MakeCurrent())
        return false;
    GlDisplay().m_pGl->glFinish();
    return true;
}

void CLS_GlViewRenderer::Render(const Frame& _tSrc, const ViewParams& _tParams,
                                const STRUCT_TargetBuffer& _tDst) {
    if (!m_blFailed) {
        std::string strWhy;
        const n_GlResult eResult =
            GlDrawView(_tSrc, DewarpParams(_tParams, _tDst.m_iWidth, _tDst.m_iHeight), _tDst,
                       n_PixelFormat::Bgrx32 == _tDst.m_eFormat ? n_GlOutput_Bgrx : n_GlOutput_Rgba, &strWhy);
        if (n_GlResult::Drawn == eResult) {
            NoteDrawn(n_Renderer_Gl);
            return;
        }
        if (n_GlResult::Failed == eResult) {
            LogOnce("GL renderer: " + strWhy + "; views are drawn by the CPU renderer");
            m_blFailed = true;
        }
    }
    m_cpu.Render(_tSrc, _tParams, _tDst);
    NoteDrawn(n_Renderer_Cpu);
}

} // namespace korvane
