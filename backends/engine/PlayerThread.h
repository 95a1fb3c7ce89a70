// A player's decoding thread: packets in, pictures decoded, every view rendered into its target.
#ifndef KORVANE_PLAYER_THREAD_H
#define KORVANE_PLAYER_THREAD_H

#include "EngineState.h"

#include <memory>

namespace korvane {

// The thread's body. Holds the player until it returns, so that a player deleted from its own
// callback lives on.
void DecodeLoop(std::shared_ptr<Player> _pPlayer);

// Stops the thread and waits for it, unless called from it.
void StopThread(const std::shared_ptr<Player>& _pPlayer);

} // namespace korvane

#endif // KORVANE_PLAYER_THREAD_H
