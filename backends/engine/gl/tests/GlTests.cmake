# Tests of the GL renderer (label gl), on whatever EGL and OpenGL ES 3 the machine has: Mesa's
# software rasteriser (llvmpipe) surfaceless where there is no GPU, as in CI. The choice of
# renderer is made once per process, so each environment is a test of its own.
set(KORVANE_GL_TESTS_DIR ${CMAKE_CURRENT_LIST_DIR})
add_executable(test_gl ${KORVANE_GL_TESTS_DIR}/test_gl.cpp)
target_include_directories(test_gl PRIVATE ${KORVANE_GL_TESTS_DIR})
target_link_libraries(test_gl PRIVATE korvane_core korvane_test_streams GTest::gtest GTest::gtest_main)

# Mesa keeps some of its allocations to the end of the process.
set(KORVANE_GL_LSAN "LSAN_OPTIONS=suppressions=${KORVANE_GL_TESTS_DIR}/lsan.supp")
# llvmpipe's own threads are not instrumented: draw on the calling thread.
set(KORVANE_GL_ENV "LP_NUM_THREADS=0")

function(korvane_gl_test name filter)
    add_test(NAME ${name} COMMAND test_gl --gtest_filter=${filter})
    set_tests_properties(${name} PROPERTIES LABELS "unit;gl" ENVIRONMENT "${KORVANE_GL_ENV};${ARGN}")
    fishplayer_sanitizer_environment(${name})
    if(FISHPLAYER_SANITIZE STREQUAL "address")
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT "${KORVANE_GL_LSAN}")
    endif()
endfunction()

korvane_gl_test(gl.renderer "GlGeometry.*:GlRenderer.*")
korvane_gl_test(gl.fallback "GlFallback.*" "__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent" "KORVANE_RENDERER=gl")
korvane_gl_test(gl.choice.bad "GlChoice.ABadValue*" "KORVANE_RENDERER=vulkan")
korvane_gl_test(gl.choice.cpu "GlChoice.Cpu*" "KORVANE_RENDERER=cpu")
korvane_gl_test(gl.choice.gl "GlChoice.Gl*" "KORVANE_RENDERER=gl")
korvane_gl_test(gl.choice.auto "GlChoice.Auto*" "KORVANE_RENDERER=auto")
