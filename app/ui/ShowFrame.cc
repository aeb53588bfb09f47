#include "app/ui/ShowFrame.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenuBar>
#include <QMimeData>
#include <QStatusBar>
#include <QToolBar>

#include "app/commands/CommandTable.h"
#include "app/ui/KeyText.h"

namespace lanternfly {
namespace {

constexpr int statusIntervalMs = 500;
constexpr int cameraIntervalMs = 3000; // drivers are asked
constexpr int noteMs = 15'000;

QString fromText(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// The PDF file that is being dragged; empty when it is something else.
QString draggedPdf(const QMimeData* data) {
    for (const QUrl& url : data->urls())
        if (url.isLocalFile() && url.fileName().endsWith(".pdf", Qt::CaseInsensitive))
            return url.toLocalFile();
    return {};
}

} // namespace

ShowFrame::ShowFrame(LiveShow& show, std::shared_ptr<NewestFrame> newest,
                     std::function<void()> onClosed)
    : _show(show), _newest(std::move(newest)), _onClosed(std::move(onClosed)),
      _picture(new PictureView),
      _pages(new PageList([this](int page) { apply(command::GoToPage{page}); })),
      _cameras(new QComboBox), _hint(new QLabel), _status(new QLabel) {
    setWindowTitle("Lanternfly");
    setAcceptDrops(true);
    auto* middle = new QWidget;
    auto* row = new QHBoxLayout(middle);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(_pages);
    row->addWidget(_picture, 1);
    setCentralWidget(middle);
    _pages->hide();
    makeMenus();
    makeCameraChoice();
    statusBar()->addWidget(_status, 1);
    connect(&_statusTimer, &QTimer::timeout, [this] { refresh(); });
    _statusTimer.start(statusIntervalMs);
    connect(&_cameraTimer, &QTimer::timeout, [this] { fillCameras(); });
    _cameraTimer.start(cameraIntervalMs);
    refresh();
}

ShowFrame::~ShowFrame() {
    _newest->setVisible(false);
}

void ShowFrame::makeMenus() {
    auto* file = menuBar()->addMenu("&File");
    connect(file->addAction("&Open PDF…"), &QAction::triggered, [this] { chooseDeck(); });
    connect(file->addAction("&Quit"), &QAction::triggered, [this] { close(); });
    // What takes nothing can be asked for with a click; its key is shown beside it.
    for (const CommandGroup group : allCommandGroups) {
        QString title = fromText(nameOf(group));
        title[0] = title[0].toUpper();
        auto* menu = menuBar()->addMenu(title);
        for (const CommandRow& each : commandTable()) {
            const auto command = each.parse("");
            if (each.group != group || !command) continue;
            const auto key = _show.presentation().keyFor(*command);
            auto* action = menu->addAction(fromText(each.summary) +
                                           (key.empty() ? QString() : "\t" + fromText(key)));
            connect(action, &QAction::triggered, [this, kept = *command] { apply(kept); });
        }
    }
}

void ShowFrame::makeCameraChoice() {
    auto* bar = addToolBar("Camera");
    bar->setMovable(false);
    bar->addWidget(new QLabel(" Camera "));
    _cameras->setFocusPolicy(Qt::NoFocus);
    _cameras->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    bar->addWidget(_cameras);
    bar->addWidget(_hint);
    connect(_cameras, &QComboBox::activated, [this](int index) {
        _show.camera().use(_cameras->itemData(index).toString().toStdString());
    });
    fillCameras();
}

// Cameras come and go; an open choice is left alone.
void ShowFrame::fillCameras() {
    if (_cameras->view()->isVisible()) return;
    const auto infos = _show.camera().cameras();
    QStringList ids;
    for (const CameraDeviceInfo& info : infos)
        ids << fromText(info.id);
    QStringList shown;
    for (int i = 0; i < _cameras->count(); ++i)
        shown << _cameras->itemData(i).toString();
    if (ids != shown) {
        _cameras->clear();
        for (const CameraDeviceInfo& info : infos)
            _cameras->addItem(fromText(info.name), fromText(info.id));
    }
    _cameras->setEnabled(!infos.empty());
    markCamera();
}

void ShowFrame::markCamera() {
    if (_cameras->view()->isVisible()) return;
    if (const auto& current = _show.camera().currentID())
        _cameras->setCurrentIndex(_cameras->findData(fromText(*current)));
}

void ShowFrame::takeFrame() {
    if (auto frame = _newest->take()) _picture->show(std::move(frame));
}

void ShowFrame::note(const std::string& text) {
    statusBar()->showMessage(fromText(text), noteMs);
}

void ShowFrame::refresh() {
    const LiveStatus status = _show.status();
    _status->setText(fromText(statusLine(status)));
    _pages->setSlides(_show.presentation().slides());
    _pages->setPage(status.page);
    _hint->setText(status.pageCount > 0 ? QString()
                                        : "   Drop a PDF here, or open one from the File menu");
    markCamera();
}

void ShowFrame::apply(const HostCommand& command) {
    if (const auto problem = _show.apply(command)) note(*problem);
    refresh();
}

void ShowFrame::chooseDeck() {
    const QString file =
        QFileDialog::getOpenFileName(this, "Open slides", {}, "Slides (*.pdf);;All files (*)");
    if (!file.isEmpty()) open(file);
}

void ShowFrame::open(const QString& file) {
    _show.openDeck(file.toStdString(), 1, [this](const LiveShow::Problem& problem) {
        if (problem) note(*problem);
    });
}

void ShowFrame::keyPressEvent(QKeyEvent* event) {
    const std::string key = keyText(*event);
    if (const HostCommand* command = _show.presentation().commandForKey(key))
        return apply(HostCommand(*command));
    const std::string text = writtenText(*event);
    if (_show.presentation().mode() == HostMode::typing && !text.empty())
        return apply(command::TypeText{text});
    QMainWindow::keyPressEvent(event);
}

void ShowFrame::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
    _onClosed();
}

void ShowFrame::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    _newest->setVisible(true);
}

void ShowFrame::hideEvent(QHideEvent* event) {
    QMainWindow::hideEvent(event);
    _newest->setVisible(false);
}

void ShowFrame::dragEnterEvent(QDragEnterEvent* event) {
    if (!draggedPdf(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void ShowFrame::dropEvent(QDropEvent* event) {
    const QString file = draggedPdf(event->mimeData());
    if (file.isEmpty()) return;
    event->acceptProposedAction();
    open(file);
}

} // namespace lanternfly
