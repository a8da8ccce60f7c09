#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

// Text as Quick Run compares it: lower-cased, accents and other marks dropped, compatibility
// forms (ligatures, full-width letters) and a few stroked letters spelled plainly, so that
// "Café", "CAFE" and "cafe" meet.
struct FoldedText {
    QString text;
    // One byte per code unit of text, 1 where a word of the original begins: after a space or
    // punctuation, at a lower-to-upper change ("camelCase"), between letters and digits.
    QByteArray wordStarts;
};

namespace SearchFolding {
QString folded(QStringView text);
FoldedText foldedWithWordStarts(QStringView text);
} // namespace SearchFolding
