// What the hands and the keys are for at the moment.
// Threads: value.
#pragma once

#include "app/NameTable.h"

namespace lanternfly {

enum class HostMode { slide, drawing, typing, model };

inline constexpr NameTable<HostMode, 4> hostModeNames{{{HostMode::slide, "slide"},
                                                       {HostMode::drawing, "drawing"},
                                                       {HostMode::typing, "typing"},
                                                       {HostMode::model, "model"}}};

constexpr std::string_view nameOf(HostMode mode) {
    return nameIn(hostModeNames, mode);
}

} // namespace lanternfly
