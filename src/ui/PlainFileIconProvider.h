#pragma once

#include <QAbstractFileIconProvider>

// Icons and type names for a file dialog from the directory entry alone. The default provider
// reads a file's first bytes to guess its type; opening and closing the library's own store
// from the owning process would drop SQLite's POSIX locks on it.
class PlainFileIconProvider final : public QAbstractFileIconProvider {
public:
    using QAbstractFileIconProvider::icon;
    QIcon icon(const QFileInfo &info) const override;
    QString type(const QFileInfo &info) const override;
};
