// The GL state of a thread: its context, program, textures and framebuffers; see GlThread.h.
#include "GlThread.h"

#include "GlShaders.h"

#include <cstdio>
#include <map>

namespace korvane {

std::string GlHex(unsigned _uCode) {
    char acText[16];
    std::snprintf(acText, sizeof(acText), "0x%04x", _uCode);
    return acText;
}

CLS_GlThread* CLS_GlThread::Get(const STRUCT_GlDisplay& _tDisplay, std::string* _pstrWhy) {
    if (!_tDisplay.m_strWhy.empty()) {
        *_pstrWhy = _tDisplay.m_strWhy;
        return nullptr;
    }
    // One state per display the thread draws with (off-screen, X11 windows).
    thread_local std::map<const STRUCT_GlDisplay*, std::unique_ptr<CLS_GlThread>> t_mapThreads;
    std::unique_ptr<CLS_GlThread>& rpThread = t_mapThreads[&_tDisplay];
    if (!rpThread) {
        rpThread.reset(new CLS_GlThread(_tDisplay));
        rpThread->m_blReady = rpThread->Init(&rpThread->m_strWhy);
    }
    if (!rpThread->m_blReady) {
        *_pstrWhy = rpThread->m_strWhy;
        return nullptr;
    }
    return rpThread.get();
}

CLS_GlThread::~CLS_GlThread() {
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

bool CLS_GlThread::MakeCurrent() {
    return m_gl.eglGetCurrentContext() == m_context ||
           m_gl.eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, m_context);
}

namespace {

// A compiler's or linker's log on one line: its lines joined with " / ", no trailing break.
std::string OneLine(const char* _pcLog) {
    std::string strLine;
    bool blBreak = false;
    for (const char* pc = _pcLog; *pc; ++pc) {
        if (*pc == '\n' || *pc == '\r') {
            blBreak = !strLine.empty();
            continue;
        }
        if (blBreak)
            strLine += " / ";
        blBreak = false;
        strLine += *pc;
    }
    return strLine;
}

} // namespace

std::string CLS_GlThread::Error(const char* _pcWhile) {
    const GLenum eError = m_gl.glGetError();
    return eError == GL_NO_ERROR ? std::string() : "GL error " + GlHex(eError) + " while " + _pcWhile;
}

bool CLS_GlThread::Init(std::string* _pstrWhy) {
    // The API is chosen per thread.
    if (!m_gl.eglBindAPI(EGL_OPENGL_ES_API)) {
        *_pstrWhy = "eglBindAPI(EGL_OPENGL_ES_API) failed";
        return false;
    }
    const EGLint aiAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    m_context = m_gl.eglCreateContext(m_display, m_config, EGL_NO_CONTEXT, aiAttributes);
    if (m_context == EGL_NO_CONTEXT) {
        *_pstrWhy =
            "no OpenGL ES 3 context (EGL error " + GlHex(static_cast<unsigned>(m_gl.eglGetError())) + ")";
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
        *_pstrWhy = "the shader program does not link: " + OneLine(acLog);
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
                " shader does not compile: " + OneLine(acLog);
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

const CLS_GlThread::STRUCT_Framebuffer* CLS_GlThread::Framebuffer(int _iWidth, int _iHeight,
                                                                  std::string* _pstrWhy) {
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
                    " framebuffer is incomplete (" + GlHex(eStatus) + ")";
        Delete(tBuffer);
        return nullptr;
    }
    m_vecFramebuffers.push_back(tBuffer);
    return &m_vecFramebuffers.back();
}

} // namespace korvane
