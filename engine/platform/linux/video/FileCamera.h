// A video file as a camera: it plays in real time, over and over.
// Threads: safe.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/VideoFile.h"
#include "platform/linux/camera/StreamingCamera.h"

namespace lanternfly {

class FileCamera final : public StreamingCamera {
public:
    // Its identifier is "file:" and the path. Throws VideoError.
    static std::shared_ptr<FileCamera> create(const std::filesystem::path& file);
    // The drawn presenter that comes with the program; its identifier is "demo". Throws VideoError.
    static std::shared_ptr<FileCamera> demo();

    // Throws CameraError.
    std::unique_ptr<CameraStream> open() override;

private:
    FileCamera(CameraDescription description, std::filesystem::path file, VideoRate rate);
    static std::shared_ptr<FileCamera> create(const std::filesystem::path& file, std::string id,
                                              std::string name);

    const std::filesystem::path _file;
    const VideoRate _rate;
};

} // namespace lanternfly
