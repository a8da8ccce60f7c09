#include "sync/SyncIntents.h"

#include "shortcuts/IconProcessing.h"
#include "sync/LibrarySyncController.h"

#include <QCoro/QCoroFuture>
#include <QFile>
#include <QPointer>
#include <QtConcurrent>

namespace {
std::optional<QDateTime> parseDate(const QString &text)
{
    QDateTime date = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!date.isValid())
        date = QDateTime::fromString(text, Qt::ISODate);
    return date.isValid() ? std::optional(date) : std::nullopt;
}
} // namespace

std::optional<ImportShortcutRequest>
ImportShortcutRequest::fromArguments(const QStringList &arguments, QString *error)
{
    ImportShortcutRequest request;
    bool hasName = false;
    auto fail = [&](const QString &message) -> std::optional<ImportShortcutRequest> {
        if (error)
            *error = message;
        return std::nullopt;
    };
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &option = arguments[i];
        if (i + 1 >= arguments.size())
            return fail(QStringLiteral("%1 needs a value").arg(option));
        const QString value = arguments[++i];
        auto integer = [&](std::optional<qint64> &out) {
            bool ok = false;
            const qint64 n = value.toLongLong(&ok);
            if (ok)
                out = n;
            return ok;
        };
        auto date = [&](std::optional<QDateTime> &out) {
            out = parseDate(value);
            return out.has_value();
        };
        if (option == QLatin1String("--name")) {
            request.name = value;
            hasName = true;
        } else if (option == QLatin1String("--identifier")) {
            request.identifier = value;
        } else if (option == QLatin1String("--folder")) {
            request.folder = value;
        } else if (option == QLatin1String("--action-count")) {
            if (!integer(request.actionCount))
                return fail(QStringLiteral("--action-count needs a whole number"));
        } else if (option == QLatin1String("--icon")) {
            request.iconPath = value;
        } else if (option == QLatin1String("--created")) {
            if (!date(request.created))
                return fail(QStringLiteral("--created needs an ISO 8601 date"));
        } else if (option == QLatin1String("--modified")) {
            if (!date(request.modified))
                return fail(QStringLiteral("--modified needs an ISO 8601 date"));
        } else if (option == QLatin1String("--position")) {
            if (!integer(request.position))
                return fail(QStringLiteral("--position needs a whole number"));
        } else {
            return fail(QStringLiteral("unknown import option %1").arg(option));
        }
    }
    if (!hasName)
        return fail(QStringLiteral("import needs --name"));
    if (request.name.trimmed().isEmpty())
        return fail(QStringLiteral("--name needs a name that is not blank"));
    return request;
}

QStringList ImportShortcutRequest::toArguments() const
{
    QStringList out{QStringLiteral("--name"), name};
    if (identifier)
        out << QStringLiteral("--identifier") << *identifier;
    if (folder)
        out << QStringLiteral("--folder") << *folder;
    if (actionCount)
        out << QStringLiteral("--action-count") << QString::number(*actionCount);
    if (iconPath)
        out << QStringLiteral("--icon") << *iconPath;
    if (created)
        out << QStringLiteral("--created") << created->toString(Qt::ISODateWithMs);
    if (modified)
        out << QStringLiteral("--modified") << modified->toString(Qt::ISODateWithMs);
    if (position)
        out << QStringLiteral("--position") << QString::number(*position);
    return out;
}

QCoro::Task<ShortcutSnapshot> SyncIntents::snapshot(ImportShortcutRequest request)
{
    ShortcutSnapshot s;
    s.identifier = request.identifier.value_or(QString()).trimmed();
    s.name = request.name;
    s.folderName = request.folder.value_or(QString());
    s.actionCount = request.actionCount.value_or(0);
    s.createdAt = request.created;
    s.modifiedAt = request.modified;
    // The helper's position counts from 1; 0 and below (down to the most negative) give 0.
    if (request.position)
        s.libraryOrder = *request.position > 0 ? *request.position - 1 : 0;
    if (request.iconPath) {
        const QString path = *request.iconPath;
        auto reading = QtConcurrent::run([path]() -> std::optional<IconProcessing::Result> {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly) || file.size() > maxIconFileSize)
                return std::nullopt;
            return IconProcessing::process(file.read(maxIconFileSize));
        });
        const auto processed = co_await reading;
        if (processed) {
            s.processedIcon = processed;
            s.colorHex = processed->topHex;
        }
    }
    co_return s;
}

QCoro::Task<SyncIntents::Outcome> SyncIntents::perform(LibrarySyncController &controller,
                                                       QString action, QStringList arguments)
{
    if (action == QLatin1String("begin")) {
        if (!arguments.isEmpty())
            co_return Outcome{false, QStringLiteral("begin takes no options")};
        controller.beginIncrementalSync();
        co_return Outcome{true, QString()};
    }
    if (action == QLatin1String("finish")) {
        if (!arguments.isEmpty())
            co_return Outcome{false, QStringLiteral("finish takes no options")};
        QString error;
        const auto summary = controller.finishIncrementalSync(&error);
        if (!summary)
            co_return Outcome{false, error};
        co_return Outcome{true, summary->text()};
    }
    if (action == QLatin1String("import")) {
        QString error;
        const auto request = ImportShortcutRequest::fromArguments(arguments, &error);
        if (!request)
            co_return Outcome{false, error};
        QPointer<LibrarySyncController> self(&controller);
        const ShortcutSnapshot s = co_await snapshot(*request);
        if (!self)
            co_return Outcome{false, QStringLiteral("Thimblecraft is quitting.")};
        self->enqueueImport(s);
        co_return Outcome{true, request->name};
    }
    co_return Outcome{false, QStringLiteral("unknown intent %1").arg(action)};
}
