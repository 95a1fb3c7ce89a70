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

// _strEncoder: "libx264", "libx265" or "mjpeg". Empty when the encoder is missing.
std::vector<std::uint8_t> MakeStream(const std::string& _strEncoder, int _iWidth, int _iHeight, int _iFrames,
                                     Disc _tDisc);

#endif // KORVANE_TESTS_STREAM_MAKER_H
