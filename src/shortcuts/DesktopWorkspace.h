#pragma once

#include "shortcuts/Workspace.h"

#include <QStringList>

// The workspace of the desktop the program runs on: URLs and files open through the desktop's
// handlers; installed apps are found by bundle identifier (macOS) or by desktop entry id
// (elsewhere: "<bundle id>.desktop" in the application directories).
class DesktopWorkspace final : public Workspace {
public:
    DesktopWorkspace();
    // Looks for desktop entries in these folders instead of the standard application
    // directories (tests, and packaged builds with their own entries).
    explicit DesktopWorkspace(QStringList applicationDirectories);

    bool openUrl(const QUrl &url) override;
    bool openFile(const QString &path) override;
    QImage applicationIcon(const QString &bundleIdentifier) override;

    // The Icon= value of the desktop entry with this id, or empty when there is none.
    QString desktopEntryIcon(const QString &bundleIdentifier) const;

private:
    QStringList m_applicationDirectories;
};

#ifdef Q_OS_MACOS
// The icon of the app bundle registered for this bundle identifier; a null image if none.
QImage macApplicationIcon(const QString &bundleIdentifier, int edge);
#endif
