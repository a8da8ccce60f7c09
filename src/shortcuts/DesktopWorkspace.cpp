#include "shortcuts/DesktopWorkspace.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QImageReader>
#include <QPixmap>
#include <QStandardPaths>

namespace {
constexpr int kIconEdge = 128;
constexpr qint64 kMaxDesktopEntryBytes = 256 * 1024;

// A bundle identifier names a file in a shared folder: nothing that could leave that folder.
bool isPlainIdentifier(const QString &id)
{
    if (id.isEmpty() || id.size() > 255 || id.startsWith(QLatin1Char('.')))
        return false;
    for (const QChar c : id) {
        if (!(c.isLetterOrNumber() || c == u'.' || c == u'-' || c == u'_'))
            return false;
    }
    return true;
}

struct DesktopEntry {
    QString icon;
    bool hidden = false;
};

std::optional<DesktopEntry> readDesktopEntry(const QString &path)
{
    QFile file(path);
    if (file.size() > kMaxDesktopEntryBytes || !file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;
    DesktopEntry entry;
    bool inMainGroup = false;
    bool sawMainGroup = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (line.startsWith(QLatin1Char('['))) {
            inMainGroup = line == QLatin1String("[Desktop Entry]");
            sawMainGroup = sawMainGroup || inMainGroup;
            continue;
        }
        if (!inMainGroup)
            continue;
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (eq <= 0)
            continue;
        const QString key = line.left(eq).trimmed();
        const QString value = line.mid(eq + 1).trimmed();
        if (key == QLatin1String("Icon"))
            entry.icon = value;
        else if (key == QLatin1String("Hidden"))
            entry.hidden = value == QLatin1String("true");
    }
    if (!sawMainGroup)
        return std::nullopt;
    return entry;
}

QImage iconImage(const QString &icon)
{
    if (icon.isEmpty())
        return {};
    if (QDir::isAbsolutePath(icon)) {
        if (!QFileInfo(icon).isFile())
            return {};
        // QIcon handles SVG and multi-size formats; plain rasters go through the reader.
        const QIcon fileIcon(icon);
        QImage image = fileIcon.pixmap(QSize(kIconEdge, kIconEdge)).toImage();
        if (image.isNull()) {
            QImageReader reader(icon);
            image = reader.read();
        }
        return image;
    }
    const QIcon themed = QIcon::fromTheme(icon);
    if (themed.isNull())
        return {};
    return themed.pixmap(QSize(kIconEdge, kIconEdge)).toImage();
}
} // namespace

DesktopWorkspace::DesktopWorkspace()
    : m_applicationDirectories(
          QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation))
{
}

DesktopWorkspace::DesktopWorkspace(QStringList applicationDirectories)
    : m_applicationDirectories(std::move(applicationDirectories))
{
}

bool DesktopWorkspace::openUrl(const QUrl &url)
{
    return url.isValid() && QDesktopServices::openUrl(url);
}

bool DesktopWorkspace::openFile(const QString &path)
{
    return !path.isEmpty() && QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

QString DesktopWorkspace::desktopEntryIcon(const QString &bundleIdentifier) const
{
    if (!isPlainIdentifier(bundleIdentifier))
        return {};
    const QString fileName = bundleIdentifier + QStringLiteral(".desktop");
    // The first directory holding the entry wins, as with the desktop's own lookup.
    for (const QString &dir : m_applicationDirectories) {
        const QString path = QDir(dir).filePath(fileName);
        if (!QFileInfo(path).isFile())
            continue;
        const auto entry = readDesktopEntry(path);
        if (!entry || entry->hidden)
            return {};
        return entry->icon;
    }
    return {};
}

QImage DesktopWorkspace::applicationIcon(const QString &bundleIdentifier)
{
#ifdef Q_OS_MACOS
    const QImage mac = macApplicationIcon(bundleIdentifier, kIconEdge);
    if (!mac.isNull())
        return mac;
#endif
    return iconImage(desktopEntryIcon(bundleIdentifier));
}
