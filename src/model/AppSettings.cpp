#include "model/AppSettings.h"

#include <QDir>
#include <QStandardPaths>
#include <memory>

namespace {
struct State {
    QString dataDir;
    bool settingsInDataDir = false;
    std::unique_ptr<QSettings> settings;
};

State &state()
{
    static State s;
    return s;
}
} // namespace

void AppSettings::useDataDirectory(const QString &dir)
{
    State &s = state();
    s.dataDir = QDir(dir).absolutePath();
    s.settingsInDataDir = true;
    s.settings.reset();
}

void AppSettings::useDefaultDataDirectoryAt(const QString &dir)
{
    State &s = state();
    s.dataDir = QDir(dir).absolutePath();
    s.settingsInDataDir = false;
    s.settings.reset();
}

QString AppSettings::dataDirectory()
{
    State &s = state();
    if (s.dataDir.isEmpty())
        return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    return s.dataDir;
}

QSettings &AppSettings::store()
{
    State &s = state();
    if (!s.settings) {
        if (!s.settingsInDataDir)
            s.settings = std::make_unique<QSettings>(QStringLiteral("Thimblecraft"),
                                                     QStringLiteral("Thimblecraft"));
        else
            s.settings = std::make_unique<QSettings>(s.dataDir + QStringLiteral("/settings.ini"),
                                                     QSettings::IniFormat);
    }
    return *s.settings;
}
