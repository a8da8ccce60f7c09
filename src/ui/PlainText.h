#pragma once

#include <QLabel>
#include <QMessageBox>
#include <QString>
#include <QTextDocument>

// Outside text (names of shortcuts, folders and tags, outputs, errors) placed where Qt would
// read markup or mnemonics into it.
namespace PlainText {
// A title of a menu entry or button: "&" shows as itself instead of marking a mnemonic.
inline QString menuTitle(QString text)
{
    return text.replace(u'&', QStringLiteral("&&"));
}

// For places that read text looking like markup as rich text (tooltips): this text never is.
inline QString markupSafe(const QString &text)
{
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal) : text;
}

// An alert's informative text (an error, a path) shown as it is.
inline void setInformativeText(QMessageBox *box, const QString &text)
{
    box->setInformativeText(text);
    if (auto *label = box->findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel")))
        label->setTextFormat(Qt::PlainText);
}
} // namespace PlainText
