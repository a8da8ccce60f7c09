#include "app/ListCommand.h"

#include "app/CommandLine.h"
#include "model/LibraryLookup.h"
#include "model/LibraryQuery.h"
#include "model/LibrarySection.h"
#include "model/ModelContext.h"
#include "model/ShortcutItemJson.h"

#include <QJsonDocument>
#include <cstdio>

int runListCommand(ModelContext &context, const CommandLine &commandLine)
{
    QList<ShortcutItem *> items;
    if (commandLine.section.isNull()) {
        // The whole library, missing shortcuts included, in creation order.
        items = LibraryQuery::searchFiltered(context.shortcuts(), commandLine.search);
    } else {
        const auto section = LibraryLookup::sectionFor(context, commandLine.section);
        if (!section) {
            const QByteArray message =
                QStringLiteral("thimblecraft: unknown section \"%1\"; use all, favorites, recent, "
                               "unfiled, untagged, missing, folder:UUID|PATH, tag:UUID|PATH, "
                               "smart:UUID|NAME or native:NAME\n")
                    .arg(commandLine.section)
                    .toUtf8();
            std::fwrite(message.constData(), 1, size_t(message.size()), stderr);
            return 2;
        }
        items = LibraryQuery::visibleItems(context, *section, commandLine.search);
    }

    QByteArray out;
    if (commandLine.json) {
        out = QJsonDocument(shortcutItemsJson(items)).toJson(QJsonDocument::Indented);
    } else {
        for (const ShortcutItem *i : items)
            out += i->name().toUtf8() + '\n';
    }
    std::fwrite(out.constData(), 1, size_t(out.size()), stdout);
    return 0;
}
