// Sets an environment variable, or removes it, as long as the object lives.
// Threads: bound; no other thread may read the environment meanwhile.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace lanternfly::test {

class ScopedVariable {
public:
    ScopedVariable(const char* name, std::optional<std::string> value) : _name(name) {
        if (const char* old = std::getenv(name)) _old = old;
        assign(value);
    }
    ~ScopedVariable() { assign(_old); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void assign(const std::optional<std::string>& value) {
        if (value)
            setenv(_name, value->c_str(), 1);
        else
            unsetenv(_name);
    }

    const char* _name;
    std::optional<std::string> _old;
};

} // namespace lanternfly::test
