#include "app/ListCommand.h"

#include "app/CommandLine.h"
#include "model/ModelContext.h"
#include "model/ShortcutItemJson.h"

#include <QJsonDocument>

#include <cstdio>

int runListCommand(ModelContext &context, const CommandLine &commandLine)
{
    const QList<ShortcutItem *> &items = context.shortcuts();
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
