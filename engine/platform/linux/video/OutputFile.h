// A file that appears under its name only when it is complete: it is written beside its target and
// renamed. What was there before stays until then.
// Threads: bound.
#pragma once

#include <filesystem>
#include <stdexcept>

namespace lanternfly {

class OutputFile {
public:
    enum class WhenAbandoned {
        remove,
        // Useful as far as it got. When nothing bears the target's name yet, the file is written
        // under that name from the start.
        keep,
    };
    // what() says what cannot be written and why.
    class Error : public std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    // Creates the work file. Throws Error when the folder is missing or closed to this user, or
    // when the target is something other than a regular file.
    OutputFile(const std::filesystem::path& target, WhenAbandoned whenAbandoned);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Where to write.
    const std::filesystem::path& workPath() const { return _work; }
    // Gives the finished file its name. Throws Error.
    void commit();

private:
    std::filesystem::path _target;
    std::filesystem::path _work;
    WhenAbandoned _whenAbandoned;
    bool _committed = false;
};

} // namespace lanternfly
