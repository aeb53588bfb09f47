// The scripted sink, alone and as one of several, held to what every sink promises.
#include "contract/frame_sink/FrameSinkContract.h"

#include "platform/FrameSinks.h"
#include "platform/fake/ScriptedFrameSink.h"

namespace lanternfly::test {
namespace {

class ScriptedMaker : public FrameSinkMaker {
public:
    std::unique_ptr<FrameSink> make() override {
        auto made = std::make_unique<ScriptedFrameSink>();
        _script = made.get();
        return made;
    }
    void watch() override { _script->setWatched(true); }
    void unwatch() override { _script->setWatched(false); }
    bool canHold() const override { return true; }
    void hold() override { _script->hold(); }
    void release() override {
        if (_script) _script->release();
    }
    PixelBufferRef lastPicture() override { return _script->lastFrame().picture; }

protected:
    ScriptedFrameSink* _script = nullptr;
};

// The second of two sinks, of which the first has no watchers.
class SeveralMaker final : public ScriptedMaker {
public:
    std::unique_ptr<FrameSink> make() override {
        std::vector<std::unique_ptr<FrameSink>> sinks;
        sinks.push_back(std::make_unique<ScriptedFrameSink>("unwatched"));
        sinks.push_back(ScriptedMaker::make());
        return std::make_unique<FrameSinks>(std::move(sinks));
    }
};

std::string nothing() {
    return {};
}

INSTANTIATE_TEST_SUITE_P(
    Implementations, FrameSinkContract,
    testing::Values(
        FrameSinkParameter{"Scripted", nothing, [] { return std::make_unique<ScriptedMaker>(); }},
        FrameSinkParameter{"Several", nothing, [] { return std::make_unique<SeveralMaker>(); }}),
    nameOfSink);

} // namespace
} // namespace lanternfly::test
