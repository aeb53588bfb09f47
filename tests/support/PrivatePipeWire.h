// A PipeWire of the test's own, with its session manager: nothing of the user's session is seen,
// and no device of the machine is touched. Both end with the test.
// Threads: bound; the environment is changed while it lives.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include <sys/types.h>

#include "support/Environment.h"
#include "support/TemporaryFolder.h"

namespace lanternfly::test {

class PrivatePipeWire {
public:
    // Which program this machine lacks; empty when there are all.
    static std::string missing();

    // Where programs of this process find it from now on; nothing runs yet.
    PrivatePipeWire();
    ~PrivatePipeWire();
    PrivatePipeWire(const PrivatePipeWire&) = delete;
    PrivatePipeWire& operator=(const PrivatePipeWire&) = delete;

    // Returns when programs can connect; false when they cannot after a long time.
    bool start();
    // Ends it as a crash would.
    void kill();
    // What its programs said.
    std::string log() const;
    const TemporaryFolder& folder() const { return _folder; }

private:
    void run(const char* program);

    TemporaryFolder _folder;
    std::deque<ScopedVariable> _variables;
    std::vector<pid_t> _programs;
};

} // namespace lanternfly::test
