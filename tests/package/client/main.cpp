#include "FishPlayerTypes.h"

#include <cstdio>

int main() {
    STRUCT_FishWindowRect tRect{640, 480};
    std::printf("package client: PTZ type %d, window %dx%d\n", CORRECT_TYPE_PTZ, tRect.m_iWidth,
                tRect.m_iHeight);
    return CORRECT_TYPE_FISHEYE == 1280 ? 0 : 1;
}
