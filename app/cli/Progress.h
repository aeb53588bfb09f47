// Tells how far a render is: a line that rewrites itself on a terminal, a line now and then in a
// log.
// Threads: bound.
#pragma once

#include <cstdint>

namespace lanternfly {

class Progress {
public:
    // `total` is 0 when the number of frames is not known.
    explicit Progress(int64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(int64_t frames);
    // Removes the line from the terminal, so that something else can be said.
    void clear();

private:
    int64_t _total;
    bool _isTerminal;
    bool _isShown = false;
    uint64_t _startNanos;
    uint64_t _lastNanos;
};

} // namespace lanternfly
