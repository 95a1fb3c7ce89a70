# Tests of the GL renderer (label gl), on whatever EGL and OpenGL ES 3 the machine has: Mesa's
# software rasteriser (llvmpipe) surfaceless where there is no GPU, as in CI. The choice of
# renderer is made once per process, so each environment is a test of its own.
set(KORVANE_GL_TESTS_DIR ${CMAKE_CURRENT_LIST_DIR})
add_executable(test_gl ${KORVANE_GL_TESTS_DIR}/test_gl.cpp)
target_include_directories(test_gl PRIVATE ${KORVANE_GL_TESTS_DIR})
target_link_libraries(test_gl PRIVATE korvane_core korvane_test_streams GTest::gtest GTest::gtest_main)
add_executable(test_gl_faults ${KORVANE_GL_TESTS_DIR}/test_gl_faults.cpp)
target_include_directories(test_gl_faults PRIVATE ${KORVANE_GL_TESTS_DIR})
target_link_libraries(test_gl_faults PRIVATE korvane_core GTest::gtest GTest::gtest_main)

# llvmpipe's own threads are not instrumented: draw on the calling thread.
set(KORVANE_GL_ENV "LP_NUM_THREADS=0")

# korvane_gl_test(<ctest name> <gtest filter> <VARIABLE=value>...): test_gl's tests matching the
# filter, in a process of their own with the variables set.
function(korvane_gl_test name filter)
    korvane_gl_program_test(${name} test_gl ${filter} ${ARGN})
endfunction()
function(korvane_gl_engine_test name filter)
    korvane_gl_program_test(${name} test_gl_engine ${filter} ${ARGN})
endfunction()
function(korvane_gl_program_test name program filter)
    add_test(NAME ${name} COMMAND ${program} --gtest_filter=${filter})
    set_tests_properties(${name} PROPERTIES LABELS "unit;gl" ENVIRONMENT "${KORVANE_GL_ENV};${ARGN}")
    fishplayer_sanitizer_environment(${name})
endfunction()

korvane_gl_test(gl.renderer "GlGeometry.*:GlRenderer.*")
korvane_gl_test(gl.fallback "GlFallback.*" "__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent" "KORVANE_RENDERER=gl")
# GL failures brought about in the process's EGL/OpenGL ES table, one process each.
foreach(fault "shader:AShaderThatDoesNot*" "context:NoContext*" "lost:AContextLost*")
    string(REPLACE ":" ";" fault "${fault}")
    list(GET fault 0 name)
    list(GET fault 1 filter)
    korvane_gl_program_test(gl.fault.${name} test_gl_faults "GlFault.${filter}")
endforeach()
korvane_gl_test(gl.choice.bad "GlChoice.ABadValue*" "KORVANE_RENDERER=vulkan")
korvane_gl_test(gl.choice.cpu "GlChoice.Cpu*" "KORVANE_RENDERER=cpu")
korvane_gl_test(gl.choice.gl "GlChoice.Gl*" "KORVANE_RENDERER=gl")
korvane_gl_test(gl.choice.auto "GlChoice.Auto*" "KORVANE_RENDERER=auto")

# The engine through its exports with KORVANE_RENDERER=gl: its players' threads draw with GL.
add_executable(test_gl_engine ${KORVANE_GL_TESTS_DIR}/test_gl_engine.cpp)
target_include_directories(test_gl_engine PRIVATE ${KORVANE_GL_TESTS_DIR} ${FISHPLAYER_ENGINE_TESTS_DIR})
target_link_libraries(test_gl_engine PRIVATE korvane korvane_core korvane_test_streams GTest::gtest GTest::gtest_main)
korvane_gl_engine_test(gl.engine "GlEngine.ViewsFollow*" "KORVANE_RENDERER=gl")
korvane_gl_engine_test(gl.engine.fallback "GlEngine.WithoutEgl*" "__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent"
    "KORVANE_RENDERER=gl")
if(TARGET test_engine_x11)
    # The X11 windows' tests again, every view drawn by GL into the windows' EGL surfaces.
    add_test(NAME engine.x11.gl COMMAND test_engine_x11)
    set_tests_properties(engine.x11.gl PROPERTIES LABELS "unit;gl" ENVIRONMENT "${KORVANE_GL_ENV};KORVANE_RENDERER=gl")
    fishplayer_sanitizer_environment(engine.x11.gl)
endif()
