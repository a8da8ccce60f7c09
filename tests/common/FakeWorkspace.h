#pragma once

#include "shortcuts/Workspace.h"

#include <QHash>
#include <QImage>
#include <QStringList>
#include <QUrl>

// Records the addresses it is asked to open and serves application icons from a table.
class FakeWorkspace final : public Workspace {
public:
    QList<QUrl> opened;
    QHash<QString, QImage> installed;
    QStringList asked;
    bool openUrl(const QUrl &url) override
    {
        opened.append(url);
        return true;
    }
    bool openFile(const QString &) override { return false; }
    QImage applicationIcon(const QString &bundleIdentifier) override
    {
        asked.append(bundleIdentifier);
        return installed.value(bundleIdentifier);
    }
};
