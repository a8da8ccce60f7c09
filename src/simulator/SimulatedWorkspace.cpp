#include "simulator/SimulatedWorkspace.h"

#include "model/Clock.h"
#include "simulator/SimulatedHelperShortcut.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

SimulatedWorkspace::SimulatedWorkspace(QString logPath) : m_logPath(std::move(logPath)) {}

bool SimulatedWorkspace::record(const QString &kind, const QString &target)
{
    QDir().mkpath(QFileInfo(m_logPath).absolutePath());
    QFile file(m_logPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    const QJsonObject entry{
        {QStringLiteral("date"), Clock::now().toUTC().toString(Qt::ISODateWithMs)},
        {QStringLiteral("kind"), kind},
        {QStringLiteral("target"), target}};
    return file.write(QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n') > 0;
}

bool SimulatedWorkspace::openUrl(const QUrl &url)
{
    return url.isValid() && record(QStringLiteral("url"), QString::fromUtf8(url.toEncoded()));
}

bool SimulatedWorkspace::openFile(const QString &path)
{
    if (!QFileInfo::exists(path) || !record(QStringLiteral("file"), path))
        return false;
    SimulatedHelperShortcut::fileOpened(path); // the Shortcuts app offers to add a helper file
    return true;
}

QImage SimulatedWorkspace::applicationIcon(const QString &)
{
    return {};
}

QList<QJsonObject> SimulatedWorkspace::entries() const
{
    QList<QJsonObject> result;
    QFile file(m_logPath);
    if (!file.open(QIODevice::ReadOnly))
        return result;
    while (!file.atEnd()) {
        const QJsonDocument doc = QJsonDocument::fromJson(file.readLine());
        if (doc.isObject())
            result.append(doc.object());
    }
    return result;
}
