// The GL renderer's two shaders. The fragment shader computes, for every output pixel, where it
// looks in the source picture with the geometry of backends/fisheye/FisheyeGeometry (the view
// kinds of fisheye::CLS_RemapTable::SourcePosition), samples the decoded planes there bilinearly
// and converts YUV to RGB (BT.601, the CPU renderer's coefficients and ranges).
#ifndef KORVANE_GL_SHADERS_H
#define KORVANE_GL_SHADERS_H

namespace korvane {

// A triangle that covers the viewport; no vertex data.
extern const char* const GL_VERTEX_SOURCE;
extern const char* const GL_FRAGMENT_SOURCE;

// Values of the fragment shader's integer uniforms.
enum n_GlKind : int {
    n_GlKind_Source,
    n_GlKind_Fisheye,
    n_GlKind_Ptz,
    n_GlKind_Half,
    n_GlKind_Panorama,
    n_GlKind_Lat
};
enum n_GlPlanes : int { n_GlPlanes_Rgb, n_GlPlanes_Yuv, n_GlPlanes_Nv12 };
enum n_GlOutput : int {
    n_GlOutput_Rgba,     // red, green, blue, 255
    n_GlOutput_Bgrx,     // blue, green, red, 0
    n_GlOutput_Position, // the source position: x and y as 16-bit fractions (65535: nothing shown)
};

} // namespace korvane

#endif // KORVANE_GL_SHADERS_H
