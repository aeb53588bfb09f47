// `lanternfly doctor`: what of this computer works, and what to do about the rest.
// Threads: bound.
#pragma once

namespace CLI {
class App;
}

namespace lanternfly {

struct DoctorOptions {
    bool isJson = false;
};

void declareDoctor(CLI::App& command, DoctorOptions& options);

// Returns 0 when nothing is wrong.
int runDoctor(const DoctorOptions& options);

} // namespace lanternfly
