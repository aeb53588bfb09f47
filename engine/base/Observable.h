// A list of callbacks told about changes of the object that owns it.
// Threads: bound.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace lanternfly {

class Observable {
public:
    using Callback = std::function<void()>;
    using Token = uint64_t;

    Token observe(Callback callback) {
        _callbacks.emplace_back(++_lastToken, std::move(callback));
        return _lastToken;
    }
    void unobserve(Token token) {
        std::erase_if(_callbacks, [&](const auto& entry) { return entry.first == token; });
    }
    // Observers may add and remove observers while they are told.
    void notify() const {
        const auto told = _callbacks;
        for (const auto& entry : told)
            entry.second();
    }

private:
    std::vector<std::pair<Token, Callback>> _callbacks;
    Token _lastToken = 0;
};

} // namespace lanternfly
