// Short elementary streams made at test time with libavcodec's encoders: a bright disc (the
// fisheye circle) on black, with a bar that moves from picture to picture.
#ifndef KORVANE_TESTS_STREAM_MAKER_H
#define KORVANE_TESTS_STREAM_MAKER_H

#include <cstdint>
#include <string>
#include <vector>

struct Disc {
    int m_iCenterX;
    int m_iCenterY;
    int m_iRadius;
};

// _strEncoder: "libx264", "libx265" or "mjpeg"; _iPixelFormat: an FFmpeg pixel format, -1 for
// 4:2:0 (full range for MJPEG). Empty when the encoder is missing or refuses the format.
std::vector<std::uint8_t> MakeStream(const std::string& _strEncoder, int _iWidth, int _iHeight, int _iFrames,
                                     Disc _tDisc, int _iPixelFormat = -1);

#endif // KORVANE_TESTS_STREAM_MAKER_H
