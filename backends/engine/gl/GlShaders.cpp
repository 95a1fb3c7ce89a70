// The GL renderer's shaders; see GlShaders.h. Each function mirrors the one of FisheyeGeometry.cpp
// or Dewarp.cpp named in its comment, in single precision.
#include "GlShaders.h"

namespace korvane {

const char* const GL_VERTEX_SOURCE = R"(#version 300 es
void main() {
    vec2 tCorner = vec2(float((gl_VertexID & 1) << 2), float((gl_VertexID & 2) << 1));
    gl_Position = vec4(tCorner - 1.0, 0.0, 1.0);
}
)";

const char* const GL_FRAGMENT_SOURCE = R"(#version 300 es
precision highp float;
precision highp int;

uniform int uKind;        // n_GlKind
uniform int uMount;       // 1 wall, 2 ceiling, 3 floor
uniform vec4 uArea;       // the image circle's box in the source: left, right, top, bottom
uniform vec2 uOutSize;    // the view in pixels
uniform float uHalfField; // half the lens's field, radians
uniform float uShift;     // the panoramas' rotation as a fraction of the view's width
uniform vec3 uEast;       // the mount's world directions in the camera frame
uniform vec3 uNorth;
uniform vec3 uUp;
uniform vec3 uForward;    // the PTZ view's frame
uniform vec3 uRight;
uniform vec3 uViewUp;
uniform vec2 uTanHalf;    // its half width and half height, as tangents
uniform vec2 uChromaSize; // the chroma grid: half the view each way, rounded up
uniform vec2 uChromaTanHalf; // the PTZ view's tangents for the chroma grid's aspect
uniform int uPlanes;      // n_GlPlanes
uniform bool uFullRange;
uniform int uOutput;      // n_GlOutput
uniform bool uFlip;       // rows counted from the bottom (a window surface)
uniform sampler2D uPlane0;
uniform sampler2D uPlane1;
uniform sampler2D uPlane2;

out vec4 oColour;

const float PI = 3.14159265358979;
// Wider than the CPU's 1e-9: single precision must still count the rim's directions as seen.
const float ANGLE_EPS = 1e-5;

// FisheyeGeometry.cpp: FromWorldAngles.
vec3 FromWorldAngles(float fAzimuth, float fElevation) {
    vec3 tHorizontal = uEast * sin(fAzimuth) + uNorth * cos(fAzimuth);
    return tHorizontal * cos(fElevation) + uUp * sin(fElevation);
}

// FisheyeGeometry.cpp: PanoramaElevation.
float PanoramaElevation(float fY) {
    if (uMount == 2)
        return (1.0 - fY) * uHalfField - PI / 2.0;
    if (uMount == 3)
        return PI / 2.0 - fY * uHalfField;
    return (0.5 - fY) * PI;
}

// FisheyeGeometry.cpp: Wrap01.
float Wrap01(float f) {
    float fWrapped = f - floor(f);
    return fWrapped >= 1.0 ? 0.0 : fWrapped;
}

// FisheyeGeometry.cpp: CLS_FisheyeGeometry::DirectionToPlane.
bool DirectionToPlane(vec3 tDir, out vec2 tPlane) {
    float fSide = length(tDir.xy);
    float fTheta = atan(fSide, tDir.z);
    if (!(fTheta <= uHalfField + ANGLE_EPS))
        return false;
    if (fSide <= 0.0) {
        tPlane = vec2(0.5);
        return true;
    }
    float fRadius = min(fTheta / uHalfField, 1.0) * 0.5;
    tPlane = 0.5 + fRadius * tDir.xy / fSide;
    return true;
}

// FisheyeGeometry.cpp: PlaneToPicture.
vec2 PlaneToPicture(vec2 tPlane) {
    return vec2(uArea.x + tPlane.x * (uArea.y - uArea.x), uArea.z + tPlane.y * (uArea.w - uArea.z));
}

// Dewarp.cpp: CLS_RemapTable::SourcePosition, for the pixel centre tPixel of a view of tSize
// pixels (a PTZ view's half width and height as tangents in tTanHalf).
bool SourcePosition(vec2 tPixel, vec2 tSize, vec2 tTanHalf, out vec2 tSource) {
    vec2 tUv = tPixel / tSize;
    vec3 tDir = vec3(0.0, 0.0, 1.0);
    if (uKind == 0) {
        tSource = tUv;
        return true;
    } else if (uKind == 1) {
        if (length(tUv - 0.5) > 0.5)
            return false;
        tSource = PlaneToPicture(tUv);
        return true;
    } else if (uKind == 2) {
        vec2 tAb = vec2(2.0 * tUv.x - 1.0, 1.0 - 2.0 * tUv.y);
        tDir = normalize(uForward + uRight * (tAb.x * tTanHalf.x) + uViewUp * (tAb.y * tTanHalf.y));
    } else if (uKind == 3) {
        tDir = FromWorldAngles((tUv.x + uShift - 0.5) * PI, PanoramaElevation(tUv.y));
    } else if (uKind == 4) {
        tDir = FromWorldAngles((Wrap01(tUv.x + uShift) - 0.5) * 2.0 * PI, PanoramaElevation(tUv.y));
    } else {
        float fSpan = min(uHalfField, PI);
        float fLongitude = (tUv.x - 0.5) * 2.0 * fSpan;
        float fLatitude = (0.5 - tUv.y) * PI;
        tDir = vec3(cos(fLatitude) * sin(fLongitude), -sin(fLatitude), cos(fLatitude) * cos(fLongitude));
    }
    vec2 tPlane;
    if (!DirectionToPlane(tDir, tPlane))
        return false;
    tSource = PlaneToPicture(tPlane);
    return true;
}

// YuvRemap.cpp: the BT.601 conversion, limited range scaling luma by 255/219 and chroma by 255/224.
vec3 YuvToRgb(float fY, float fU, float fV) {
    float fLuma = uFullRange ? fY : (fY - 16.0 / 255.0) * (255.0 / 219.0);
    float fScale = uFullRange ? 1.0 : 255.0 / 224.0;
    float fU0 = (fU - 128.0 / 255.0) * fScale;
    float fV0 = (fV - 128.0 / 255.0) * fScale;
    const float KR = 0.299;
    const float KB = 0.114;
    const float KG = 1.0 - KR - KB;
    return clamp(vec3(fLuma + 2.0 * (1.0 - KR) * fV0,
                      fLuma - (2.0 * KB * (1.0 - KB) / KG) * fU0 - (2.0 * KR * (1.0 - KR) / KG) * fV0,
                      fLuma + 2.0 * (1.0 - KB) * fU0),
                 0.0, 1.0);
}

bool Finite(vec2 t) {
    return !any(isnan(t)) && !any(isinf(t));
}

// YuvRemap.cpp: the chroma of a pixel, as the CPU renderer takes it, so that both draw the same
// picture: one sample for each 2 x 2 block of the view, where the centre of the block's pixel on
// the chroma grid looks, and no colour where that lies outside what the view shows (the rim).
vec2 Chroma(vec2 tPixel) {
    vec2 tSource;
    if (!SourcePosition(floor(tPixel / 2.0) + 0.5, uChromaSize, uChromaTanHalf, tSource) || !Finite(tSource))
        return vec2(128.0 / 255.0);
    return uPlanes == 2 ? texture(uPlane1, tSource).rg
                        : vec2(texture(uPlane1, tSource).r, texture(uPlane2, tSource).r);
}

void main() {
    // Row 0 is the view's top row: the framebuffer's first row, which the read-back returns first,
    // or a window surface's last.
    vec2 tPixel = uFlip ? vec2(gl_FragCoord.x, uOutSize.y - gl_FragCoord.y) : gl_FragCoord.xy;
    vec2 tSource;
    bool blInside = SourcePosition(tPixel, uOutSize, uTanHalf, tSource) && Finite(tSource);
    if (uOutput == 2) {
        vec2 tFixed = blInside ? floor(clamp(tSource, 0.0, 1.0) * 65534.0 + 0.5) : vec2(65535.0);
        oColour = vec4(floor(tFixed.x / 256.0), mod(tFixed.x, 256.0), floor(tFixed.y / 256.0),
                       mod(tFixed.y, 256.0)) / 255.0;
        return;
    }
    vec3 tRgb = vec3(0.0);
    if (blInside) {
        if (uPlanes == 0) {
            tRgb = texture(uPlane0, tSource).rgb;
        } else {
            vec2 tUv = Chroma(tPixel);
            tRgb = YuvToRgb(texture(uPlane0, tSource).r, tUv.x, tUv.y);
        }
    }
    oColour = uOutput == 1 ? vec4(tRgb.bgr, 0.0) : vec4(tRgb, 1.0);
}
)";

} // namespace korvane
