// The window of a show: the live picture, the pages, a line that says how it is doing. Everything
// that it does is a command.
// Threads: bound to the main thread.
#pragma once

#include <memory>

#include <QComboBox>
#include <QLabel>
#include <QMainWindow>
#include <QTimer>

#include "app/live/LiveShow.h"
#include "app/ui/PageList.h"
#include "app/ui/PictureView.h"
#include "app/ui/WindowSink.h"

namespace lanternfly {

class ShowFrame final : public QMainWindow {
public:
    // The show outlives the window. `onClosed` is told when the user closes it.
    ShowFrame(LiveShow& show, std::shared_ptr<NewestFrame> newest, std::function<void()> onClosed);
    ~ShowFrame() override;

    void takeFrame();
    void note(const std::string& text);
    void refresh();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void makeMenus();
    void makeCameraChoice();
    void fillCameras();
    void markCamera();
    void chooseDeck();
    void open(const QString& file);
    void apply(const HostCommand& command);

    LiveShow& _show;
    const std::shared_ptr<NewestFrame> _newest;
    const std::function<void()> _onClosed;
    PictureView* _picture; // the window owns its parts
    PageList* _pages;
    QComboBox* _cameras;
    QLabel* _hint;
    QLabel* _status;
    QTimer _statusTimer, _cameraTimer;
};

} // namespace lanternfly
