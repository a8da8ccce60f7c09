#include "ui/ProminentButton.h"

#include "ui/ShortcutPainter.h"

void ProminentButton::apply(QPushButton *button)
{
    const QColor accent = ShortcutPainter::accentColor();
    button->setStyleSheet(
        QStringLiteral("QPushButton { background: %1; color: white; border: none;"
                       " border-radius: 6px; padding: 6px 14px; }"
                       "QPushButton:pressed { background: %2; }"
                       "QPushButton:focus { border: 2px solid %3; padding: 4px 12px; }")
            .arg(accent.name(), accent.darker(120).name(), accent.lighter(150).name()));
}
