// Makes the sinks that the user chose.
// Threads: bound; the sinks are safe.
#pragma once

#include <memory>
#include <vector>

#include "app/sinks/OutputChoice.h"
#include "platform/FrameSink.h"

namespace lanternfly {

// What goes through the outputs: frames of another size are fitted into this one.
struct OutputPicture {
    int width = 0, height = 0; // even; 0: the usual size of the virtual camera
    // Recordings take the sound of PipeWire's default source, usually the microphone.
    bool hasSound = true;
};

// In the order of the choices. PipeWire need not run yet; everything else must be there. Throws
// CommandError.
std::vector<std::unique_ptr<FrameSink>> openOutputs(const std::vector<OutputChoice>& choices,
                                                    const OutputPicture& picture = {});

} // namespace lanternfly
