#include "app/DataDirectory.h"

#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"

#include <QDir>
#include <QFileInfo>

namespace {
QString givenOrDefault(const QString &given)
{
    return QDir::cleanPath(
        QFileInfo(given.isEmpty() ? AppSettings::dataDirectory() : given).absoluteFilePath());
}
} // namespace

std::optional<QString> DataDirectory::forWriting(const QString &given, Problem *problem)
{
    const QString path = givenOrDefault(given);
    const QFileInfo info(path);
    auto fail = [&](const QString &message) -> std::optional<QString> {
        *problem = {unusableExitCode, message};
        return std::nullopt;
    };
    if (info.exists() && !info.isDir())
        return fail(QStringLiteral("the data directory %1 is not a folder").arg(path));
    if (!info.exists() && !QDir().mkpath(path))
        return fail(QStringLiteral("cannot create the data directory %1").arg(path));
    const QString canonical = QFileInfo(path).canonicalFilePath();
    if (canonical.isEmpty())
        return fail(QStringLiteral("the data directory %1 cannot be resolved").arg(path));
    return canonical;
}

std::optional<QString> DataDirectory::forReading(const QString &given, Problem *problem)
{
    const QString path = givenOrDefault(given);
    const QString canonical = QFileInfo(path).canonicalFilePath();
    if (canonical.isEmpty() || !QFileInfo(canonical).isDir()) {
        *problem = {
            noLibraryExitCode,
            QStringLiteral("there is no Thimblecraft library at %1 (no such folder)").arg(path)};
        return std::nullopt;
    }
    if (!QFileInfo::exists(LibraryStoreContainer::storePath(canonical))) {
        *problem = {noLibraryExitCode,
                    QStringLiteral("there is no Thimblecraft library at %1 (no %2 in it)")
                        .arg(path, QStringLiteral("Thimblecraft.store"))};
        return std::nullopt;
    }
    return canonical;
}
