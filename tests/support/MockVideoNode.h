// Video nodes that exist only for this process, through umockdev: drivers are played by the test.
// The process must run with umockdev's preload library, as ctest runs it.
// Threads: safe; one test thread scripts.
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <linux/videodev2.h>
#include <umockdev.h>

namespace lanternfly::test {

// The testbed: /sys and /dev of this process show only what is plugged into it.
class MockMachine {
public:
    static bool isAvailable() {
        return ::dlopen("libumockdev-preload.so.0", RTLD_LAZY | RTLD_NOLOAD) != nullptr;
    }

    MockMachine() : _testbed(umockdev_testbed_new()) {}
    ~MockMachine() { g_object_unref(_testbed); }
    MockMachine(const MockMachine&) = delete;
    MockMachine& operator=(const MockMachine&) = delete;

    UMockdevTestbed* testbed() const { return _testbed; }
    // Where its /dev and /sys really are.
    std::string root() const {
        gchar* const folder = umockdev_testbed_get_root_dir(_testbed);
        std::string text(folder);
        g_free(folder);
        return text;
    }

private:
    UMockdevTestbed* _testbed;
};

class MockVideoNode {
public:
    struct Mode {
        uint32_t fourcc = V4L2_PIX_FMT_YUYV;
        uint32_t width = 64, height = 48;
        std::vector<v4l2_fract> intervals{{1, 30}};
    };
    struct Description {
        int number = 0; // of /dev/videoN
        std::string card = "Mock Webcam";
        std::string driver = "uvcvideo";
        std::string removable = "removable"; // of the USB parent; empty: no hardware behind it
        std::string byId = "usb-Mock_Webcam_0001-video-index0"; // empty: no link
        std::string manufacturer = "Mock";
        std::string product = "Webcam";
        std::vector<Mode> modes{Mode{}};
        uint32_t capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    };

    MockVideoNode(MockMachine& machine, Description description);
    ~MockVideoNode();
    MockVideoNode(const MockVideoNode&) = delete;
    MockVideoNode& operator=(const MockVideoNode&) = delete;

    void plug(); // udev tells
    // Requests fail from now on, and udev tells.
    void unplug();
    // Requests fail from now on, and udev does not tell.
    void pullOutUnnoticed();
    // From now on only root may open it.
    void deny();
    // An answer to all requests of this code instead of the usual one: an errno, 0 for the usual.
    void fail(unsigned long request, int code);
    // No frames come until they do again.
    void setSilent(bool isSilent);
    // What the frames hold from the next one on; zeros at first.
    void setFrame(std::vector<uint8_t> bytes);
    // How often streaming was asked for, and a wait until it was so often; false after a long time.
    int streamOns() const;
    bool waitForStreamOns(int count);
    v4l2_fract lastInterval() const;
    std::string node() const { return "/dev/video" + std::to_string(_description.number); }

private:
    static gboolean onRequest(UMockdevIoctlBase* base, UMockdevIoctlClient* client, gpointer self);
    static void onVanished(UMockdevIoctlBase* base, UMockdevIoctlClient* client, gpointer self);
    // Answers into `argument`, of the request's size. Returns 0 or an errno.
    int answer(UMockdevIoctlClient* client, unsigned long request, void* argument);
    int setFormat(v4l2_pix_format& format);
    int dequeue(v4l2_buffer& buffer);
    std::string parentPath() const;
    std::string syspath() const;
    const Mode* modeAt(uint32_t index, uint32_t fourcc) const;

    MockMachine& _machine;
    const Description _description;
    UMockdevIoctlBase* _base;

    mutable std::mutex _mutex;
    std::condition_variable _streamAsked;
    std::map<unsigned long, int> _failures;
    Mode _mode;
    std::vector<uint8_t> _frame;
    std::vector<uint32_t> _queued;
    UMockdevIoctlClient* _owner = nullptr; // has the buffers
    v4l2_fract _interval{0, 0};
    int _file = -1;
    int _streamOns = 0;
    bool _isPlugged = false;
    bool _isGone = false;
    bool _isSilent = false;
    bool _isStreaming = false;
    bool _hasFrame = false;
};

} // namespace lanternfly::test
