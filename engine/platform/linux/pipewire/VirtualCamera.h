// A camera that other programs see: a Video/Source node of PipeWire. Pictures are made only while
// somebody watches, in the size and format that was agreed on; the last one is repeated while no
// other comes.
// Threads: safe; the work is done on a thread of its own.
#pragma once

#include <memory>
#include <string>

#include <pipewire/stream.h>

#include "base/LockedCell.h"
#include "platform/FrameSinkReport.h"
#include "platform/linux/output/FrameEncoder.h"
#include "platform/linux/pipewire/Connection.h"

namespace lanternfly::pipewire {

struct VirtualCameraDescription {
    std::string name; // as people see it
    std::string manufacturer, model;
    std::string streamTag;           // of the stream that carries the frames
    int width = 1920, height = 1080; // of the largest picture
    int framesPerSecond = 30;        // faster frames are thinned out
};

class VirtualCamera final : public FrameSink {
public:
    // Where PipeWire does not run the camera waits for it. Throws std::runtime_error with a
    // sentence when PipeWire's library is not complete on this machine.
    explicit VirtualCamera(VirtualCameraDescription description);
    ~VirtualCamera() override;

    const std::string& name() const override { return _report.name(); }
    void send(const PixelBufferRef& frame, MediaTime pts) override;
    bool isWatched() const override;
    FrameSinkStatus status() const override { return _report.status(); }
    void setStateCallback(std::function<void()> callback) override {
        _report.setCallback(std::move(callback));
    }
    void finish() override;

private:
    // The newest frame; it stays, so that who comes later sees a picture at once.
    struct Newest {
        PixelBufferRef frame;
        MediaTime pts;
        bool isFresh = false;
        bool isOver = false;
    };
    struct Stream;

    // On the connection's thread:
    void createStream(pw_core& core);
    void destroyStream();
    void stateChanged(pw_stream_state now, const std::string& error);
    void formatChanged(const spa_pod* parameter);
    void setStreaming(bool isStreaming);
    void sendNewest();
    void repeatNewest();
    bool isDue(MediaTime pts);
    void fillBuffer();

    const VirtualCameraDescription _description;
    FrameSinkReport _report;
    LockedCell<Newest> _newest;
    std::unique_ptr<Stream> _stream; // what is bound to the connection's thread
    Connection _connection;
};

} // namespace lanternfly::pipewire
