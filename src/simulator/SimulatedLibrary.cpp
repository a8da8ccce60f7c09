#include "simulator/SimulatedLibrary.h"

#include "model/AppSettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QSet>

static void initSimulatorResources()
{
    Q_INIT_RESOURCE(simulator);
}

namespace {
std::optional<QDateTime> dateValue(const QJsonValue &v, bool *ok)
{
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    const QDateTime d = QDateTime::fromString(v.toString(), Qt::ISODateWithMs);
    if (!d.isValid()) {
        *ok = false;
        return std::nullopt;
    }
    return d;
}

QJsonValue dateJson(const std::optional<QDateTime> &d)
{
    return d ? QJsonValue(d->toUTC().toString(Qt::ISODate)) : QJsonValue();
}

std::optional<QColor> colorValue(const QJsonValue &v)
{
    const QString text = v.toString();
    // "#RRGGBB" only: the simulator reports what the Shortcuts app stores, an opaque RGB.
    if (text.size() != 7 || !text.startsWith(QLatin1Char('#')))
        return std::nullopt;
    const QColor c = QColor::fromString(text);
    if (!c.isValid())
        return std::nullopt;
    return c;
}

QString colorText(const QColor &c)
{
    return c.name(QColor::HexRgb).toUpper();
}
} // namespace

const SimulatedShortcut *SimulatedLibrary::shortcutWithIdentifier(const QString &identifier) const
{
    for (const SimulatedShortcut &s : shortcuts) {
        if (s.identifier == identifier)
            return &s;
    }
    return nullptr;
}

const SimulatedShortcut *SimulatedLibrary::shortcutNamed(const QString &name) const
{
    for (const SimulatedShortcut &s : shortcuts) {
        if (s.name == name)
            return &s;
    }
    return nullptr;
}

std::optional<SimulatedLibrary> SimulatedLibrary::fromJson(const QByteArray &json, QString *error)
{
    auto fail = [&](const QString &why) -> std::optional<SimulatedLibrary> {
        if (error)
            *error = why;
        return std::nullopt;
    };
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &parseError);
    if (doc.isNull())
        return fail(QStringLiteral("not JSON: %1 at offset %2")
                        .arg(parseError.errorString())
                        .arg(parseError.offset));
    if (!doc.isObject())
        return fail(QStringLiteral("the top level must be an object"));
    const QJsonObject root = doc.object();

    SimulatedLibrary library;
    const QJsonValue switchesValue = root.value(QLatin1String("shortcutsEvents"));
    if (!switchesValue.isUndefined() && !switchesValue.isObject())
        return fail(QStringLiteral("\"shortcutsEvents\" must be an object"));
    const QJsonObject sw = switchesValue.toObject();
    library.switches.running = sw.value(QLatin1String("running")).toBool(true);
    library.switches.automationAllowed = sw.value(QLatin1String("automationAllowed")).toBool(true);
    library.switches.scriptedIconsAllowed =
        sw.value(QLatin1String("scriptedIconsAllowed")).toBool(true);
    library.switches.runByIdentifierAllowed =
        sw.value(QLatin1String("runByIdentifierAllowed")).toBool(true);
    library.switches.colorsAsData = sw.value(QLatin1String("colorsAsData")).toBool(false);
    library.switches.listDelayMilliseconds =
        int(qBound(0.0, sw.value(QLatin1String("listDelaySeconds")).toDouble(0), 30.0) * 1000);

    const QJsonValue foldersValue = root.value(QLatin1String("folders"));
    if (!foldersValue.isUndefined() && !foldersValue.isArray())
        return fail(QStringLiteral("\"folders\" must be a list of names"));
    for (const QJsonValue &f : foldersValue.toArray()) {
        if (!f.isString() || f.toString().isEmpty())
            return fail(QStringLiteral("\"folders\" must be a list of names"));
        if (!library.folders.contains(f.toString()))
            library.folders.append(f.toString());
    }

    const QJsonValue shortcutsValue = root.value(QLatin1String("shortcuts"));
    if (!shortcutsValue.isUndefined() && !shortcutsValue.isArray())
        return fail(QStringLiteral("\"shortcuts\" must be a list"));
    const QJsonArray list = shortcutsValue.toArray();
    QSet<QString> identifiers; // a scan per entry made large libraries quadratic
    for (qsizetype i = 0; i < list.size(); ++i) {
        // Formatted only for an error: once per entry, they showed up in profiles.
        const auto where = [i] { return QStringLiteral("shortcut %1").arg(i + 1); };
        if (!list.at(i).isObject())
            return fail(where() + QStringLiteral(" is not an object"));
        const QJsonObject o = list.at(i).toObject();
        SimulatedShortcut s;
        s.identifier = o.value(QLatin1String("identifier")).toString();
        s.name = o.value(QLatin1String("name")).toString();
        if (s.identifier.isEmpty())
            return fail(where() + QStringLiteral(" has no \"identifier\""));
        if (s.name.isEmpty())
            return fail(where() + QStringLiteral(" has no \"name\""));
        if (identifiers.contains(s.identifier))
            return fail(where() + QStringLiteral(" repeats the identifier ") + s.identifier);
        identifiers.insert(s.identifier);
        const auto named = [&s] { return QStringLiteral("shortcut \"%1\"").arg(s.name); };
        s.subtitle = o.value(QLatin1String("subtitle")).toString();
        const auto color = colorValue(o.value(QLatin1String("color")));
        if (!color && o.contains(QLatin1String("color")))
            return fail(named() + QStringLiteral(": \"color\" must be \"#RRGGBB\""));
        s.color = color.value_or(QColor(0x1E, 0x90, 0xFF));
        s.acceptsInput = o.value(QLatin1String("acceptsInput")).toBool(false);
        s.actionCount = o.value(QLatin1String("actionCount")).toInteger(0);
        s.folder = o.value(QLatin1String("folder")).toString();
        if (!s.folder.isEmpty() && !library.folders.contains(s.folder))
            library.folders.append(s.folder);

        const QJsonObject icon = o.value(QLatin1String("icon")).toObject();
        s.glyph = icon.value(QLatin1String("glyph")).toString(QStringLiteral("sparkles"));
        const auto top = colorValue(icon.value(QLatin1String("top")));
        const auto bottom = colorValue(icon.value(QLatin1String("bottom")));
        if ((!top && icon.contains(QLatin1String("top"))) ||
            (!bottom && icon.contains(QLatin1String("bottom"))))
            return fail(named() + QStringLiteral(": icon colours must be \"#RRGGBB\""));
        // Without its own gradient an icon runs from a lighter shade of the colour to the colour.
        s.iconTop = top.value_or(s.color.lighter(135));
        s.iconBottom = bottom.value_or(s.color);

        bool datesOk = true;
        s.createdAt = dateValue(o.value(QLatin1String("createdAt")), &datesOk);
        s.modifiedAt = dateValue(o.value(QLatin1String("modifiedAt")), &datesOk);
        s.lastRunAt = dateValue(o.value(QLatin1String("lastRunAt")), &datesOk);
        if (!datesOk)
            return fail(named() + QStringLiteral(": dates must be ISO 8601 texts"));
        s.appBundleID = o.value(QLatin1String("appBundleID")).toString();
        s.customIcon = o.value(QLatin1String("customIcon")).toBool(false);

        const QJsonObject run = o.value(QLatin1String("run")).toObject();
        const QJsonValue output = run.value(QLatin1String("output"));
        if (output.isString()) {
            s.run.outputs = {output.toString()};
        } else if (output.isArray()) {
            s.run.outputIsList = true;
            for (const QJsonValue &v : output.toArray())
                s.run.outputs.append(v.toString());
        } else if (!output.isUndefined() && !output.isNull()) {
            return fail(named() + QStringLiteral(": \"output\" must be a text or a list of texts"));
        }
        s.run.outputFile = run.value(QLatin1String("outputFile")).toString();
        const QJsonValue err = run.value(QLatin1String("error"));
        if (err.isObject()) {
            s.run.errorNumber = err.toObject().value(QLatin1String("number")).toInteger(-1);
            s.run.errorMessage = err.toObject().value(QLatin1String("message")).toString();
        } else if (!err.isUndefined() && !err.isNull()) {
            return fail(named() + QStringLiteral(": \"error\" must be {\"number\", \"message\"}"));
        }
        s.run.delayMilliseconds =
            int(qBound(0.0, run.value(QLatin1String("delaySeconds")).toDouble(0), 30.0) * 1000);
        library.shortcuts.append(std::move(s));
    }
    return library;
}

std::optional<SimulatedLibrary> SimulatedLibrary::load(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    QString why;
    auto library = fromJson(file.readAll(), &why);
    if (!library && error)
        *error = QStringLiteral("%1: %2").arg(path, why);
    return library;
}

QJsonObject SimulatedLibrary::toJson() const
{
    QJsonObject sw{{QStringLiteral("running"), switches.running},
                   {QStringLiteral("automationAllowed"), switches.automationAllowed},
                   {QStringLiteral("scriptedIconsAllowed"), switches.scriptedIconsAllowed},
                   {QStringLiteral("runByIdentifierAllowed"), switches.runByIdentifierAllowed},
                   {QStringLiteral("colorsAsData"), switches.colorsAsData}};
    if (switches.listDelayMilliseconds > 0)
        sw.insert(QStringLiteral("listDelaySeconds"), switches.listDelayMilliseconds / 1000.0);
    QJsonArray list;
    for (const SimulatedShortcut &s : shortcuts) {
        QJsonObject o{{QStringLiteral("identifier"), s.identifier},
                      {QStringLiteral("name"), s.name},
                      {QStringLiteral("subtitle"), s.subtitle},
                      {QStringLiteral("color"), colorText(s.color)},
                      {QStringLiteral("acceptsInput"), s.acceptsInput},
                      {QStringLiteral("actionCount"), s.actionCount},
                      {QStringLiteral("icon"),
                       QJsonObject{{QStringLiteral("glyph"), s.glyph},
                                   {QStringLiteral("top"), colorText(s.iconTop)},
                                   {QStringLiteral("bottom"), colorText(s.iconBottom)}}},
                      {QStringLiteral("customIcon"), s.customIcon}};
        if (!s.folder.isEmpty())
            o.insert(QStringLiteral("folder"), s.folder);
        if (!s.appBundleID.isEmpty())
            o.insert(QStringLiteral("appBundleID"), s.appBundleID);
        for (const auto &[key, date] :
             {std::pair{"createdAt", s.createdAt}, std::pair{"modifiedAt", s.modifiedAt},
              std::pair{"lastRunAt", s.lastRunAt}}) {
            if (date)
                o.insert(QLatin1String(key), dateJson(date));
        }
        QJsonObject run;
        if (s.run.outputIsList)
            run.insert(QStringLiteral("output"), QJsonArray::fromStringList(s.run.outputs));
        else if (!s.run.outputs.isEmpty())
            run.insert(QStringLiteral("output"), s.run.outputs.first());
        if (!s.run.outputFile.isEmpty())
            run.insert(QStringLiteral("outputFile"), s.run.outputFile);
        if (s.run.errorNumber)
            run.insert(QStringLiteral("error"),
                       QJsonObject{{QStringLiteral("number"), *s.run.errorNumber},
                                   {QStringLiteral("message"), s.run.errorMessage}});
        if (s.run.delayMilliseconds > 0)
            run.insert(QStringLiteral("delaySeconds"), s.run.delayMilliseconds / 1000.0);
        if (!run.isEmpty())
            o.insert(QStringLiteral("run"), run);
        list.append(o);
    }
    return QJsonObject{{QStringLiteral("format"), 1},
                       {QStringLiteral("shortcutsEvents"), sw},
                       {QStringLiteral("folders"), QJsonArray::fromStringList(folders)},
                       {QStringLiteral("shortcuts"), list}};
}

bool SimulatedLibrary::save(const QString &path, QString *error) const
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(QJsonDocument(toJson()).toJson(QJsonDocument::Indented)) < 0 || !file.commit()) {
        if (error)
            *error = file.errorString();
        return false;
    }
    return true;
}

QString SimulatedLibrary::defaultPath()
{
    return QDir(AppSettings::dataDirectory())
        .filePath(QStringLiteral("Simulated Shortcuts/library.json"));
}

QByteArray SimulatedLibrary::sampleJson()
{
    initSimulatorResources();
    QFile file(QStringLiteral(":/simulator/sample-library.json"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

bool SimulatedLibrary::ensureFile(const QString &path, QString *error)
{
    if (QFileInfo::exists(path))
        return true;
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        if (error)
            *error = QStringLiteral("cannot create the folder of %1").arg(path);
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(sampleJson()) < 0 || !file.commit()) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}
