// The fisheye circle found in the decoded pictures and delivered to the channel's user-data
// subscriber.
#ifndef KORVANE_FISHEYE_AREA_H
#define KORVANE_FISHEYE_AREA_H

#include "EngineState.h"

#include <cstdint>

namespace korvane {

// Pictures in which the fisheye circle is looked for at the start, and the period after that.
constexpr std::int64_t AREA_FIRST_FRAMES = 5;
constexpr std::int64_t AREA_PERIOD = 25;

// Bounding box of the non-dark part of the picture, or false when the picture is all dark.
bool FindFisheyeArea(const Frame& _tFrame, PictureArea* _ptArea);

// Calls the subscriber of the player's play index when the area is new to it (decoding thread).
void DeliverArea(Player& _tPlayer, const PictureArea& _tArea);

} // namespace korvane

#endif // KORVANE_FISHEYE_AREA_H
