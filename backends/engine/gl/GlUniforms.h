// The fragment shader's uniforms (GlShaders.cpp), by name and index.
#ifndef KORVANE_GL_UNIFORMS_H
#define KORVANE_GL_UNIFORMS_H

namespace korvane {

// Names of the fragment shader's uniforms, in the order of n_Uniform.
constexpr const char* UNIFORM_NAMES[] = {
    "uKind",      "uMount",   "uArea",  "uOutSize", "uHalfField", "uShift",      "uEast",          "uNorth",
    "uUp",        "uForward", "uRight", "uViewUp",  "uTanHalf",   "uChromaSize", "uChromaTanHalf", "uPlanes",
    "uFullRange", "uOutput",  "uFlip",  "uPlane0",  "uPlane1",    "uPlane2"};
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
    FLIP,
    PLANE0
};

} // namespace korvane

#endif // KORVANE_GL_UNIFORMS_H
