#pragma once

#include <QAction>
#include <QMenu>
#include <QStringList>
#include <QTest>

// What a menu entry shows: "&&" as "&", a single "&" (the mnemonic mark) left out.
inline QString displayedText(const QString &text)
{
    QString shown;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == u'&' && i + 1 < text.size())
            ++i;
        shown.append(text.at(i));
    }
    return shown;
}

// The visible entries of a menu as shown; separators as "-".
inline QStringList displayedTexts(const QMenu *menu)
{
    QStringList texts;
    for (const QAction *action : menu->actions()) {
        if (action->isVisible())
            texts.append(action->isSeparator() ? QStringLiteral("-")
                                               : displayedText(action->text()));
    }
    return texts;
}

// Triggers an action, failing the test when it is missing or disabled.
#define TRIGGER_ACTION(action)                                                                     \
    do {                                                                                           \
        QAction *action_ = (action);                                                               \
        QVERIFY2(action_, "missing action");                                                       \
        QVERIFY2(action_->isEnabled(),                                                             \
                 qPrintable(QStringLiteral("disabled: ") + action_->objectName()));                \
        action_->trigger();                                                                        \
    } while (false)
