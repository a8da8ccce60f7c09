#pragma once

#include "shortcuts/ShortcutSnapshot.h"

#include <QList>
#include <QString>

// Imports the helper was told had arrived but that are not merged yet, one JSON line each in a
// file beside the store. Batching keeps them in memory for up to 0.8 s; an owner killed in that
// time would lose them, so the next owner merges what it finds here.
class ImportJournal {
public:
    explicit ImportJournal(QString path) : m_path(std::move(path)) {}

    const QString &path() const { return m_path; }
    // False when the line could not be written.
    bool append(const ShortcutSnapshot &snapshot);
    // Everything merged: the file goes.
    void clear();
    // The snapshots in the file, in arrival order; lines that cannot be read are skipped (a
    // kill in the middle of a line leaves half of one).
    QList<ShortcutSnapshot> read() const;

    static QByteArray encode(const ShortcutSnapshot &snapshot);
    static std::optional<ShortcutSnapshot> decode(const QByteArray &line);

private:
    QString m_path;
};
