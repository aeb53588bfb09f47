// Bytes of a connection as lines, of a length that a stranger cannot drive up.
// Threads: bound.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace lanternfly {

class LineBuffer {
public:
    static constexpr size_t maxLineBytes = 4096; // without its end

    void add(std::string_view bytes) { _bytes.append(bytes); }
    // The next whole line, without its end and a carriage return before it.
    std::optional<std::string> next() {
        const size_t end = _bytes.find('\n');
        if (end == _bytes.npos || end > maxLineBytes) return std::nullopt;
        std::string line = _bytes.substr(0, end);
        _bytes.erase(0, end + 1);
        if (line.ends_with('\r')) line.pop_back();
        return line;
    }
    // A line has begun that will not be taken, however it ends.
    bool isOverfull() const { return std::min(_bytes.find('\n'), _bytes.size()) > maxLineBytes; }

private:
    std::string _bytes;
};

} // namespace lanternfly
