// `lanternfly contact-sheet`: pictures of a video at even distances on one sheet, each with its
// time.
// Threads: bound.
#pragma once

#include <filesystem>

namespace CLI {
class App;
}

namespace lanternfly {

struct ContactSheetOptions {
    std::filesystem::path video;
    std::filesystem::path out;
    int columns = 6;
    int count = 24;
};

void declareContactSheet(CLI::App& command, ContactSheetOptions& options);

// Returns the exit code. Throws as runRender().
int runContactSheet(const ContactSheetOptions& options);

} // namespace lanternfly
