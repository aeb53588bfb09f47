#include "app/ui/QtShowWindow.h"

#include <cstdio>
#include <cstdlib>

#include <QApplication>
#include <QSocketNotifier>
#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/ui/Look.h"
#include "app/ui/ShowFrame.h"
#include "base/Logger.h"

namespace lanternfly {
namespace {

constexpr const char* withoutWindow = "use --no-window to present without one";

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
}

// Qt ends the program when it cannot reach the display that it was told of.
void takeMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    static const Logger log("Window");
    if (type == QtFatalMsg) {
        fmt::print(stderr, "lanternfly: no window can be shown; {}\n", withoutWindow);
        std::fflush(stderr);
        std::_Exit(1);
    }
    log.debug("{}", message.toStdString());
}

class QtShowWindow final : public ShowWindow {
public:
    explicit QtShowWindow(WindowLook look) {
        if (!isSet("DISPLAY") && !isSet("WAYLAND_DISPLAY") && !isSet("QT_QPA_PLATFORM"))
            throw CommandError(fmt::format("there is no display for a window; {}", withoutWindow));
        qInstallMessageHandler(takeMessage);
        QApplication::setApplicationName("lanternfly");
        QApplication::setApplicationDisplayName("Lanternfly");
        QApplication::setDesktopFileName("org.lanternfly.Lanternfly");
        _application = std::make_unique<QApplication>(_argumentCount, _arguments);
        applyLook(look);
        QApplication::setWindowIcon(QIcon::fromTheme("org.lanternfly.Lanternfly"));
        // Frames come from another thread.
        _newest = std::make_shared<NewestFrame>([this] {
            QMetaObject::invokeMethod(
                _application.get(), [this] { takeFrame(); }, Qt::QueuedConnection);
        });
    }
    ~QtShowWindow() override { _newest->close(); }

    std::unique_ptr<FrameSink> makeSink() override { return std::make_unique<WindowSink>(_newest); }
    void attach(LiveShow& show) override { _show = &show; }
    void note(const std::string& text) override {
        if (_frame) _frame->note(text);
    }
    void refresh() override {
        if (_frame) _frame->refresh();
    }
    void run(EventLoop& loop) override {
        const auto work = [&loop] {
            loop.dispatch();
            if (loop.isQuitting()) QApplication::quit();
        };
        const QSocketNotifier notifier(loop.descriptor(), QSocketNotifier::Read);
        QObject::connect(&notifier, &QSocketNotifier::activated, work);
        _frame = std::make_unique<ShowFrame>(*_show, _newest, [&loop] {
            loop.quit();
            QApplication::quit();
        });
        _frame->resize(_frame->sizeHint().expandedTo({1180, 660}));
        _frame->show();
        if (!loop.isQuitting()) QApplication::exec();
        _frame.reset();
    }

private:
    void takeFrame() {
        if (_frame) _frame->takeFrame();
    }

    char _name[11] = "lanternfly";
    char* _arguments[2] = {_name, nullptr};
    int _argumentCount = 1;
    std::unique_ptr<QApplication> _application;
    std::shared_ptr<NewestFrame> _newest;
    LiveShow* _show = nullptr;
    std::unique_ptr<ShowFrame> _frame;
};

} // namespace

std::unique_ptr<ShowWindow> makeQtShowWindow(WindowLook look) {
    return std::make_unique<QtShowWindow>(look);
}

} // namespace lanternfly
