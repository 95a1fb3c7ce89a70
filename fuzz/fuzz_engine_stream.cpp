// The open engine's stream decoding on any bytes: codec detection, a codec change at the start of
// a call, parsing and decoding. The input is a sequence of calls, each a two-byte big-endian
// length followed by that many bytes (fewer at the input's end), fed to one decoder in order.
#include "StreamDecoder.h"

#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavutil/log.h>
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    av_log_set_level(AV_LOG_QUIET);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* _pData, size_t _size) {
    korvane::CLS_StreamDecoder decoder;
    const korvane::CLS_StreamDecoder::PF_OnFrame pfOnFrame = [](const korvane::Frame& _tFrame) {
        // Every picture handed out has a size and pixels to read.
        if (_tFrame.m_iWidth <= 0 || _tFrame.m_iHeight <= 0 ||
            (!_tFrame.HasPlanes() && _tFrame.m_vecRgb.empty()))
            __builtin_trap();
        return true;
    };
    size_t uAt = 0;
    while (uAt + 2 <= _size) {
        const size_t uLength = (static_cast<size_t>(_pData[uAt]) << 8) | _pData[uAt + 1];
        uAt += 2;
        const size_t uTake = uLength < _size - uAt ? uLength : _size - uAt;
        decoder.Feed(_pData + uAt, uTake, pfOnFrame);
        uAt += uTake;
    }
    return 0;
}
