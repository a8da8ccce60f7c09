#include "model/ImportSummary.h"

#include <QStringList>

namespace {
QString countsLine(const QString &kind, const ImportSummary::Counts &c, const QString &addedWord)
{
    QStringList parts;
    if (c.added > 0)
        parts << QStringLiteral("%1 %2").arg(c.added).arg(addedWord);
    if (c.changed > 0)
        parts << QStringLiteral("%1 changed").arg(c.changed);
    if (c.unchanged > 0)
        parts << QStringLiteral("%1 unchanged").arg(c.unchanged);
    if (parts.isEmpty())
        parts << QStringLiteral("none");
    return kind + QStringLiteral(": ") + parts.join(QStringLiteral(" · "));
}

QJsonObject countsJson(const ImportSummary::Counts &c)
{
    return QJsonObject{{QStringLiteral("added"), c.added},
                       {QStringLiteral("changed"), c.changed},
                       {QStringLiteral("unchanged"), c.unchanged}};
}
} // namespace

QString ImportSummary::text() const
{
    QStringList lines;
    if (dryRun)
        lines << QStringLiteral("Dry run: nothing was changed. The import would give:");
    lines << countsLine(QStringLiteral("Folders"), folders, QStringLiteral("new"));
    lines << countsLine(QStringLiteral("Tags"), tags, QStringLiteral("new"));
    lines << countsLine(QStringLiteral("Smart lists"), smartLists, QStringLiteral("new"));
    lines << countsLine(QStringLiteral("Shortcuts"), shortcuts,
                        QStringLiteral("new (placeholders until the next sync)"));
    if (conflicts > 0)
        lines << QStringLiteral("%1 %2 differed from the file; the library's own %3 kept.")
                     .arg(conflicts)
                     .arg(conflicts == 1 ? QStringLiteral("note or folder")
                                         : QStringLiteral("notes or folders"))
                     .arg(conflicts == 1 ? QStringLiteral("was") : QStringLiteral("were"));
    return lines.join(u'\n');
}

QJsonObject ImportSummary::json() const
{
    return QJsonObject{{QStringLiteral("dryRun"), dryRun},
                       {QStringLiteral("folders"), countsJson(folders)},
                       {QStringLiteral("tags"), countsJson(tags)},
                       {QStringLiteral("smartLists"), countsJson(smartLists)},
                       {QStringLiteral("shortcuts"), countsJson(shortcuts)},
                       {QStringLiteral("conflicts"), conflicts}};
}
