#include "ui/PlainFileIconProvider.h"

#include <QFileInfo>

QIcon PlainFileIconProvider::icon(const QFileInfo &info) const
{
    return icon(info.isDir() ? Folder : File);
}

QString PlainFileIconProvider::type(const QFileInfo &info) const
{
    if (info.isDir())
        return QStringLiteral("Folder");
    const QString suffix = info.suffix();
    return suffix.isEmpty() ? QStringLiteral("File") : suffix.toUpper() + QStringLiteral(" File");
}
