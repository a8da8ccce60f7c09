#include "app/HealthCommand.h"

#include "app/CommandLine.h"
#include "app/ConsoleOutput.h"
#include "model/LibraryHealth.h"
#include "model/LibraryLookup.h"
#include "model/ModelContext.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {
constexpr int lineWidth = 78;

// Words filled into lines of at most lineWidth, each line starting with indent.
QString wrapped(const QString &text, const QString &indent)
{
    QString out, line = indent;
    for (const QString &word : text.split(u' ', Qt::SkipEmptyParts)) {
        if (line.size() > indent.size() && line.size() + 1 + word.size() > lineWidth) {
            out += line + u'\n';
            line = indent;
        }
        if (line.size() > indent.size())
            line += u' ';
        line += word;
    }
    return out + line + u'\n';
}

// Folders and tags alike: name, path and uuid.
template<typename Node> void addTreeRecord(QJsonObject &o, const Node *node, const char *record)
{
    o.insert(QStringLiteral("record"), QLatin1String(record));
    o.insert(QStringLiteral("name"), node->name());
    o.insert(QStringLiteral("path"), LibraryLookup::pathText(node));
    o.insert(QStringLiteral("uuid"), node->uuid());
}

QJsonObject findingJson(const HealthFinding &finding)
{
    QJsonObject o{{QStringLiteral("detail"), finding.detail()}};
    const Record *record = finding.record;
    switch (record->kind()) {
    case Record::Kind::shortcutItem: {
        const auto *item = static_cast<const ShortcutItem *>(record);
        o.insert(QStringLiteral("record"), QStringLiteral("shortcut"));
        o.insert(QStringLiteral("name"), item->name());
        o.insert(QStringLiteral("identifier"), item->identifier());
        break;
    }
    case Record::Kind::libraryFolder:
        addTreeRecord(o, static_cast<const LibraryFolder *>(record), "folder");
        break;
    case Record::Kind::tag:
        addTreeRecord(o, static_cast<const Tag *>(record), "tag");
        break;
    case Record::Kind::smartList: {
        const auto *list = static_cast<const SmartList *>(record);
        o.insert(QStringLiteral("record"), QStringLiteral("smartList"));
        o.insert(QStringLiteral("name"), list->name());
        o.insert(QStringLiteral("uuid"), list->uuid());
        break;
    }
    }
    return o;
}

QString problemsText(qsizetype n)
{
    return n == 1 ? QStringLiteral("1 problem") : QString::number(n) + QStringLiteral(" problems");
}
} // namespace

int runHealthCommand(const ModelContext &context, const CommandLine &commandLine)
{
    const LibraryHealth health = LibraryHealth::of(context);
    const qsizetype problems = health.problemCount();
    if (commandLine.json) {
        QJsonArray groups;
        for (const HealthGroup &group : health.groups) {
            QJsonArray findings;
            for (const HealthFinding &finding : group.findings)
                findings.append(findingJson(finding));
            groups.append(
                QJsonObject{{QStringLiteral("kind"), LibraryHealth::storedName(group.kind)},
                            {QStringLiteral("title"), LibraryHealth::title(group.kind)},
                            {QStringLiteral("explanation"), LibraryHealth::explanation(group.kind)},
                            {QStringLiteral("fix"), LibraryHealth::fix(group.kind)},
                            {QStringLiteral("findings"), findings}});
        }
        printTo(stdout, QString::fromUtf8(
                            QJsonDocument(QJsonObject{{QStringLiteral("problemCount"), problems},
                                                      {QStringLiteral("groups"), groups}})
                                .toJson(QJsonDocument::Indented)));
    } else if (problems == 0) {
        printTo(stdout, QStringLiteral("No problems found.\n"));
    } else {
        QString text = QStringLiteral("Library health: ") + problemsText(problems) + u'\n';
        for (const HealthGroup &group : health.groups) {
            text += u'\n' + LibraryHealth::title(group.kind) + QStringLiteral(" (") +
                    QString::number(group.findings.size()) + QStringLiteral(")\n");
            text += wrapped(LibraryHealth::explanation(group.kind), QStringLiteral("  "));
            text += wrapped(QStringLiteral("To fix: ") + LibraryHealth::fix(group.kind),
                            QStringLiteral("  "));
            // Names are shown with their line breaks and controls escaped, so that one name
            // stays on one line and cannot steer the terminal.
            for (const HealthFinding &finding : group.findings)
                text += QStringLiteral("  - ") + finding.subject() + QStringLiteral("  ·  ") +
                        finding.detail() + u'\n';
        }
        printTo(stdout, text);
    }
    return problems > 0 ? 1 : 0;
}
