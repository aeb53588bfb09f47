// Where a newly loaded window or deck goes.
// Threads: value.
#pragma once

namespace lanternfly {

enum class LanternflyLoadDestination { live = 0, onDeck = 1 };

// Staged, unless Shift is held: the presenter decides when the audience sees it.
constexpr LanternflyLoadDestination resolveStagedLoadDestination(bool shiftHeld) {
    return shiftHeld ? LanternflyLoadDestination::live : LanternflyLoadDestination::onDeck;
}

} // namespace lanternfly
