#include "app/ui/KeyText.h"

#include <QKeyEvent>
#include <QKeySequence>

namespace lanternfly {

std::string keyText(const QKeyEvent& event) {
    switch (event.key()) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Meta:
    case Qt::Key_unknown:
        return {};
    default:
        break;
    }
    // The key is the same on the number pad.
    const auto modifiers = event.modifiers() & ~Qt::KeyboardModifiers(Qt::KeypadModifier);
    return QKeySequence(QKeyCombination(modifiers, static_cast<Qt::Key>(event.key())))
        .toString(QKeySequence::PortableText)
        .toStdString();
}

std::string writtenText(const QKeyEvent& event) {
    if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return {};
    const QString text = event.text();
    for (const QChar& each : text)
        if (!each.isPrint() && !each.isSurrogate()) return {};
    return text.toStdString();
}

} // namespace lanternfly
