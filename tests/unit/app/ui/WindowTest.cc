// The window, without a screen: what it paints, which keys and files it takes.
#include <QApplication>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QUrl>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/ui/KeyText.h"
#include "app/ui/Look.h"
#include "app/ui/PictureView.h"
#include "app/ui/ShowFrame.h"
#include "app/ui/WindowSink.h"
#include "platform/fake/ScriptedCameras.h"
#include "support/Environment.h"
#include "support/LoopRunner.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

// One for all tests, as Qt wants it. It is never destroyed: after main() its parts go in any order.
struct Application {
    Application() {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        static char name[] = "window_test";
        static char* arguments[] = {name, nullptr};
        static int count = 1;
        static auto* const application = new QApplication(count, arguments);
        application->setQuitOnLastWindowClosed(false);
    }
};

struct WindowPartTest : testing::Test {
    const Application application;
};

PixelBufferRef plain(int width, int height, uint32_t bgra) {
    auto picture = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            std::memcpy(picture->row(y) + 4 * x, &bgra, 4);
    return picture;
}

TEST_F(WindowPartTest, APictureIsShownWholeAndInTheMiddle) {
    const QRect view(10, 20, 400, 400);
    EXPECT_EQ(PictureView::fitted({1600, 900}, view), QRect(10, 20 + 87, 400, 225));
    EXPECT_EQ(PictureView::fitted({900, 1600}, view), QRect(10 + 87, 20, 225, 400));
    EXPECT_EQ(PictureView::fitted({10, 10}, view), view);
    EXPECT_TRUE(PictureView::fitted({0, 10}, view).isNull());
}

TEST_F(WindowPartTest, APictureHasBlackBarsAboveAndBelow) {
    PictureView view;
    view.resize(320, 320);
    const QColor black(Qt::black), orange(255, 128, 0);
    EXPECT_EQ(view.grab().toImage().pixelColor(160, 160), black);
    view.show(plain(160, 90, 0xffff8000));
    const QImage shown = view.grab().toImage();
    EXPECT_EQ(shown.pixelColor(160, 160), orange);
    EXPECT_EQ(shown.pixelColor(2, 160), orange);
    EXPECT_EQ(shown.pixelColor(160, 2), black);
    EXPECT_EQ(shown.pixelColor(160, 317), black);
}

TEST_F(WindowPartTest, KeysAreNamedAsBindingsNameThem) {
    const auto named = [](int key, Qt::KeyboardModifiers modifiers, const char* text = "") {
        const QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        return keyText(event);
    };
    EXPECT_EQ(named(Qt::Key_Right, {}), "Right");
    EXPECT_EQ(named(Qt::Key_PageDown, {}), "PgDown");
    EXPECT_EQ(named(Qt::Key_Space, {}, " "), "Space");
    EXPECT_EQ(named(Qt::Key_D, {}, "d"), "D");
    EXPECT_EQ(named(Qt::Key_5, Qt::KeypadModifier, "5"), "5");
    EXPECT_EQ(named(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier), "Ctrl+Shift+S");
    EXPECT_EQ(named(Qt::Key_Shift, Qt::ShiftModifier), "");
}

TEST_F(WindowPartTest, KeysWriteWhatTheyPrint) {
    const auto written = [](int key, Qt::KeyboardModifiers modifiers, const QString& text) {
        return writtenText(QKeyEvent(QEvent::KeyPress, key, modifiers, text));
    };
    EXPECT_EQ(written(Qt::Key_A, {}, "a"), "a");
    EXPECT_EQ(written(0, {}, QString::fromUtf8("\xc3\xa9")), "\xc3\xa9");
    EXPECT_EQ(written(0, {}, QString::fromUtf8("\xf0\x9f\x98\x80")), "\xf0\x9f\x98\x80");
    EXPECT_EQ(written(Qt::Key_Return, {}, "\r"), "");
    EXPECT_EQ(written(Qt::Key_A, Qt::ControlModifier, "\x01"), "");
    EXPECT_EQ(written(Qt::Key_Left, {}, ""), "");
}

TEST_F(WindowPartTest, LightAndDarkDiffer) {
    applyLook(WindowLook::dark);
    EXPECT_LT(QApplication::palette().color(QPalette::Window).lightness(), 80);
    applyLook(WindowLook::light);
    EXPECT_GT(QApplication::palette().color(QPalette::Window).lightness(), 180);
}

TEST(NewestFrame, OnlyTheNewestWaitsAndTheWindowIsWokenOnce) {
    int woken = 0;
    const auto newest = std::make_shared<NewestFrame>([&] { ++woken; });
    WindowSink sink(newest);
    const auto first = plain(2, 2, 1), second = plain(2, 2, 2);
    sink.send(first, MediaTime::make(0, 30));
    EXPECT_EQ(newest->take(), nullptr) << "nobody looks";
    EXPECT_FALSE(sink.isWatched());
    newest->setVisible(true);
    EXPECT_TRUE(sink.isWatched());
    sink.send(first, MediaTime::make(1, 30));
    sink.send(second, MediaTime::make(2, 30));
    sink.send(nullptr, MediaTime::make(3, 30));
    EXPECT_EQ(woken, 1);
    EXPECT_EQ(newest->take(), second);
    EXPECT_EQ(newest->take(), nullptr);
    EXPECT_EQ(sink.status().droppedFrames, 1u);
    EXPECT_EQ(sink.status().sentFrames, 1u);
    sink.finish();
    sink.send(first, MediaTime::make(4, 30));
    EXPECT_EQ(newest->take(), nullptr);
    EXPECT_EQ(sink.status().state, FrameSinkStatus::State::finished);
}

struct WindowTest : WindowPartTest {
    const test::TemporaryFolder folder;
    const test::ScopedVariable config{"XDG_CONFIG_HOME", folder.path().string()};
    const QString deck = LANTERNFLY_SOURCE_DIR "/demo/deck.pdf";
    std::shared_ptr<EventLoop> loop = std::make_shared<EventLoop>();
    std::shared_ptr<NewestFrame> newest = std::make_shared<NewestFrame>([] {});
    std::shared_ptr<ScriptedCameras> cameras = std::make_shared<ScriptedCameras>();
    std::unique_ptr<LiveShow> show;
    std::unique_ptr<ShowFrame> window;
    bool isClosed = false;

    void SetUp() override {
        std::vector<std::unique_ptr<FrameSink>> outputs;
        outputs.push_back(std::make_unique<WindowSink>(newest));
        ShowOptions options;
        options.width = 320;
        options.height = 180;
        show = std::make_unique<LiveShow>(LiveShow::Setup{.options = options,
                                                          .camera = {cameras, std::nullopt},
                                                          .outputs = std::move(outputs),
                                                          .loop = loop,
                                                          .onNote = [](const std::string&) {},
                                                          .onChange = [] {}});
        window = std::make_unique<ShowFrame>(*show, newest, [this] { isClosed = true; });
        window->show();
    }
    void TearDown() override {
        window.reset();
        show->finish();
    }
    int page() const { return show->presentation().page(); }
    void press(int key, const QString& text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, text);
        QApplication::sendEvent(window.get(), &event);
    }
    void drop(const QString& file) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(file)});
        QDragEnterEvent entering({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(window.get(), &entering);
        isTaken = entering.isAccepted();
        if (!isTaken) return;
        QDropEvent dropped({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(window.get(), &dropped);
    }
    bool isTaken = false;
};

TEST_F(WindowTest, ADroppedPdfIsShownAndKeysTurnItsPages) {
    drop(deck);
    EXPECT_TRUE(isTaken);
    ASSERT_TRUE(test::runUntil(*loop, [&] { return page() == 1; }));
    press(Qt::Key_Right);
    EXPECT_EQ(page(), 2);
    press(Qt::Key_PageDown);
    EXPECT_EQ(page(), 3);
    press(Qt::Key_Home);
    EXPECT_EQ(page(), 1);
}

TEST_F(WindowTest, WhatIsNoPdfIsNotTaken) {
    drop("/tmp/picture.png");
    EXPECT_FALSE(isTaken);
}

TEST_F(WindowTest, TypedKeysWriteUntilEscape) {
    press(Qt::Key_T, "t");
    EXPECT_EQ(show->presentation().mode(), HostMode::typing);
    press(Qt::Key_H, "h");
    press(Qt::Key_Return, "\r");
    press(Qt::Key_Escape);
    EXPECT_EQ(show->presentation().mode(), HostMode::slide);
}

TEST_F(WindowTest, ShowsTheFramesOfTheShow) {
    EXPECT_TRUE(test::runUntil(*loop, [&] { return newest->take() != nullptr; }));
}

TEST_F(WindowTest, TellsWhenItIsClosed) {
    EXPECT_FALSE(isClosed);
    window->close();
    EXPECT_TRUE(isClosed);
    EXPECT_EQ(newest->report().state(), FrameSinkStatus::State::idle);
}

} // namespace
} // namespace lanternfly
