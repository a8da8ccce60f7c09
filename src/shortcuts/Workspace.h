#pragma once

#include <QImage>
#include <QString>
#include <QUrl>
#include <memory>

// The platform's workspace services: opening URLs and files, and finding installed apps' icons.
class Workspace {
public:
    virtual ~Workspace() = default;
    // True when the request was handed to the platform.
    virtual bool openUrl(const QUrl &url) = 0;
    virtual bool openFile(const QString &path) = 0;
    // The icon of the installed application with this bundle identifier (after the caller's
    // alias mapping), or a null image when none is installed.
    virtual QImage applicationIcon(const QString &bundleIdentifier) = 0;

    // The process-wide workspace; the program sets it once at start-up (tests set their own).
    static Workspace &shared();
    static void setShared(std::unique_ptr<Workspace> workspace);
};
