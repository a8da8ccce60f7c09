#include "simulator/SimulatedHelperShortcut.h"

#include "simulator/SimulatedIconRenderer.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QTemporaryDir>

namespace {
struct State {
    QMutex mutex;
    SimulatedHelperShortcut::IntentSender sender;
    QString libraryPath;
};

State &state()
{
    static State s;
    return s;
}

// The scripting system's error for a failed action inside a running shortcut.
constexpr qint64 actionFailed = -10000;

ScriptHostReply failure(const QString &text)
{
    return ScriptHostReply::failure(actionFailed,
                                    QStringLiteral("Sync Thimblecraft failed: %1").arg(text));
}
} // namespace

void SimulatedHelperShortcut::setIntentSender(IntentSender sender)
{
    QMutexLocker lock(&state().mutex);
    state().sender = std::move(sender);
}

void SimulatedHelperShortcut::setLibraryPath(const QString &libraryPath)
{
    QMutexLocker lock(&state().mutex);
    state().libraryPath = libraryPath;
}

bool SimulatedHelperShortcut::fileOpened(const QString &path)
{
    QString libraryPath;
    {
        QMutexLocker lock(&state().mutex);
        libraryPath = state().libraryPath;
    }
    if (libraryPath.isEmpty() || !path.endsWith(QLatin1String(".shortcut")))
        return false;
    return install(path, libraryPath);
}

bool SimulatedHelperShortcut::install(const QString &shortcutFile, const QString &libraryPath,
                                      QString *error)
{
    QFile file(shortcutFile);
    if (!file.open(QIODevice::ReadOnly) || file.size() > 1024 * 1024) {
        if (error)
            *error = QStringLiteral("cannot read %1").arg(shortcutFile);
        return false;
    }
    const QJsonObject description = QJsonDocument::fromJson(file.readAll()).object();
    if (description.value(QLatin1String("name")).toString() != QLatin1String(shortcutName)) {
        if (error)
            *error = QStringLiteral("%1 is not the helper shortcut").arg(shortcutFile);
        return false;
    }
    auto library = SimulatedLibrary::load(libraryPath, error);
    if (!library)
        return false;
    if (library->shortcutNamed(QString::fromLatin1(shortcutName)))
        return true;
    SimulatedShortcut helper;
    helper.identifier = QStringLiteral("5C1F7A2E-0D4B-4C8E-9A31-6B2D8E4F7C10");
    helper.name = QString::fromLatin1(shortcutName);
    helper.subtitle = QStringLiteral("Sends your shortcuts' icons and dates to Thimblecraft");
    helper.color =
        QColor(description.value(QLatin1String("color")).toString(QStringLiteral("#5E5CE6")));
    helper.iconTop = helper.color.lighter(115);
    helper.iconBottom = helper.color.darker(115);
    helper.glyph = QStringLiteral("sparkles");
    helper.actionCount = description.value(QLatin1String("actions")).toArray().size();
    library->shortcuts.append(helper);
    return library->save(libraryPath, error);
}

bool SimulatedHelperShortcut::isHelper(const SimulatedShortcut &shortcut)
{
    return shortcut.name == QLatin1String(shortcutName);
}

ScriptHostReply SimulatedHelperShortcut::run(const SimulatedLibrary &library)
{
    IntentSender sender;
    {
        QMutexLocker lock(&state().mutex);
        sender = state().sender;
    }
    if (!sender)
        return failure(QStringLiteral("Thimblecraft's actions aren't available."));

    IntentResult begun = sender(QStringLiteral("begin"), {});
    if (!begun.ok)
        return failure(begun.text);

    // The icons the helper hands over as files, like the Shortcuts app's temporary images.
    QTemporaryDir icons;
    if (!icons.isValid())
        return failure(QStringLiteral("no room for icon files"));
    for (qsizetype i = 0; i < library.shortcuts.size(); ++i) {
        const SimulatedShortcut &s = library.shortcuts[i];
        QStringList arguments{QStringLiteral("--name"), s.name};
        if (!s.identifier.isEmpty())
            arguments << QStringLiteral("--identifier") << s.identifier;
        if (!s.folder.isEmpty())
            arguments << QStringLiteral("--folder") << s.folder;
        if (s.actionCount > 0)
            arguments << QStringLiteral("--action-count") << QString::number(s.actionCount);
        const QString iconPath = icons.filePath(QStringLiteral("icon-%1.png").arg(i + 1));
        QFile iconFile(iconPath);
        if (iconFile.open(QIODevice::WriteOnly) && iconFile.write(SimulatedIconRenderer::renderPNG(
                                                       s.glyph, s.iconTop, s.iconBottom)) > 0) {
            iconFile.close();
            arguments << QStringLiteral("--icon") << iconPath;
        }
        if (s.createdAt)
            arguments << QStringLiteral("--created")
                      << s.createdAt->toUTC().toString(Qt::ISODateWithMs);
        if (s.modifiedAt)
            arguments << QStringLiteral("--modified")
                      << s.modifiedAt->toUTC().toString(Qt::ISODateWithMs);
        arguments << QStringLiteral("--position") << QString::number(i + 1);
        const IntentResult imported = sender(QStringLiteral("import"), arguments);
        if (!imported.ok)
            return failure(imported.text);
    }

    const IntentResult finished = sender(QStringLiteral("finish"), {});
    if (!finished.ok)
        return failure(finished.text);
    return ScriptHostReply::success(AppleEventDescriptor::text(finished.text));
}
