#pragma once

#include "shortcuts/Workspace.h"

#include <QJsonObject>
#include <QList>
#include <QString>

// The workspace of the simulated Mac: opening a URL or a file is recorded as one JSON line in
// a log file (so a person or a test can see what the program asked for); no app is installed,
// so there are no app icons.
class SimulatedWorkspace final : public Workspace {
public:
    explicit SimulatedWorkspace(QString logPath);
    bool openUrl(const QUrl &url) override;
    bool openFile(const QString &path) override;
    QImage applicationIcon(const QString &bundleIdentifier) override;

    const QString &logPath() const { return m_logPath; }
    // Every entry recorded so far, oldest first: {"date", "kind" ("url" or "file"), "target"}.
    QList<QJsonObject> entries() const;

private:
    bool record(const QString &kind, const QString &target);
    QString m_logPath;
};
