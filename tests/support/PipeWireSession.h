// One private PipeWire for all tests of a program. Include in one source of a test program.
// Threads: bound.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/PrivatePipeWire.h"

namespace lanternfly::test {

class PipeWireSession final : public testing::Environment {
public:
    void SetUp() override {
        missing = PrivatePipeWire::missing();
        if (!missing.empty()) return;
        pipewire = std::make_unique<PrivatePipeWire>();
        ASSERT_TRUE(pipewire->start()) << pipewire->log();
    }
    void TearDown() override { pipewire = nullptr; }

    static inline std::string missing;
    static inline std::unique_ptr<PrivatePipeWire> pipewire;
};

inline const auto* const pipeWireSession = testing::AddGlobalTestEnvironment(new PipeWireSession);

} // namespace lanternfly::test
