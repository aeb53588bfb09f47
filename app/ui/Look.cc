#include "app/ui/Look.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace lanternfly {
namespace {

struct Colours {
    QColor window, base, text, dim, button, accent;
};
const Colours light{QColor(245, 245, 247), QColor(255, 255, 255), QColor(28, 28, 32),
                    QColor(130, 130, 138), QColor(235, 235, 239), QColor(190, 96, 28)};
const Colours dark{QColor(32, 33, 37),    QColor(24, 25, 28), QColor(232, 232, 236),
                   QColor(130, 132, 140), QColor(46, 47, 53), QColor(240, 150, 70)};

QPalette paletteOf(const Colours& colours) {
    QPalette palette;
    using Role = QPalette::ColorRole;
    for (const auto& [role, colour] : {std::pair{Role::Window, colours.window},
                                       {Role::Base, colours.base},
                                       {Role::AlternateBase, colours.window},
                                       {Role::Button, colours.button},
                                       {Role::ToolTipBase, colours.base},
                                       {Role::WindowText, colours.text},
                                       {Role::Text, colours.text},
                                       {Role::ButtonText, colours.text},
                                       {Role::ToolTipText, colours.text},
                                       {Role::PlaceholderText, colours.dim},
                                       {Role::Highlight, colours.accent},
                                       {Role::HighlightedText, colours.base},
                                       {Role::Link, colours.accent}})
        palette.setColor(role, colour);
    for (const auto role : {Role::WindowText, Role::Text, Role::ButtonText})
        palette.setColor(QPalette::Disabled, role, colours.dim);
    return palette;
}

} // namespace

void applyLook(WindowLook look) {
    if (look == WindowLook::system) return;
    // The one style that takes all its colours from the palette.
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(paletteOf(look == WindowLook::dark ? dark : light));
}

} // namespace lanternfly
