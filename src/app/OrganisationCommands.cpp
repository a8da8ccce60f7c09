#include "app/OrganisationCommands.h"

#include "app/CommandLine.h"
#include "app/ConsoleOutput.h"
#include "app/InstanceChannel.h"
#include "app/IntentCommand.h"
#include "app/OwnerClient.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/OrganisationDocument.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {
// The document a file holds, or nothing with the reason; a file over the format's bound is not
// read at all.
std::optional<QByteArray> readDocument(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    const QByteArray bytes = file.read(Organisation::maxDocumentBytes + 1);
    if (bytes.size() > Organisation::maxDocumentBytes) {
        *error = QStringLiteral("%1 is larger than %2 MB")
                     .arg(path, QString::number(Organisation::maxDocumentBytes / (1024 * 1024)));
        return std::nullopt;
    }
    return bytes;
}

} // namespace

int runExportCommand(const ModelContext &context, const CommandLine &commandLine)
{
    const QByteArray document = exportDocument(context);
    if (commandLine.exportFile.isEmpty() || commandLine.exportFile == QLatin1String("-")) {
        std::fwrite(document.constData(), 1, size_t(document.size()), stdout);
        return 0;
    }
    // Written whole or not at all: an older export is not half replaced.
    QSaveFile file(commandLine.exportFile);
    if (!file.open(QIODevice::WriteOnly) || file.write(document) != document.size() ||
        !file.commit()) {
        printTo(stderr, QStringLiteral("thimblecraft: cannot write %1: %2\n")
                            .arg(commandLine.exportFile, file.errorString()));
        return 1;
    }
    return 0;
}

void installImportEndpoint(InstanceChannel &channel)
{
    channel.setRequestHandler(
        QStringLiteral("import"), [](QJsonObject request) -> QCoro::Task<InstanceChannel::Reply> {
            const QString path = request.value(QLatin1String("path")).toString();
            const bool dryRun = request.value(QLatin1String("dryRun")).toBool();
            if (path.isEmpty())
                co_return InstanceChannel::jsonReply(
                    {{QStringLiteral("error"), QStringLiteral("malformed import request")}}, false);
            QString error;
            const auto document = readDocument(path, &error);
            if (!document)
                co_return InstanceChannel::jsonReply({{QStringLiteral("error"), error}}, false);
            ModelContext &context = LibraryStoreContainer::shared();
            const auto summary = importDocument(
                context, *document, dryRun ? ImportMode::dryRun : ImportMode::apply, &error);
            if (!summary)
                co_return InstanceChannel::jsonReply({{QStringLiteral("error"), error}}, false);
            if (!dryRun && !context.save(&error))
                co_return InstanceChannel::jsonReply(
                    {{QStringLiteral("error"),
                      QStringLiteral("the library could not be saved: ") + error}},
                    false);
            co_return InstanceChannel::jsonReply({{QStringLiteral("summary"), summary->json()},
                                                  {QStringLiteral("text"), summary->text()}},
                                                 true);
        });
}

int runImportCommand(const CommandLine &commandLine)
{
    const QFileInfo file(commandLine.importFile);
    if (!file.isFile()) {
        printTo(stderr,
                QStringLiteral("thimblecraft: %1 is not a file\n").arg(commandLine.importFile));
        return 1;
    }
    OwnerClient::Options options;
    options.replyTimeoutMs = 10 * 60 * 1000;
    options.retryUnanswered = commandLine.dryRun; // merging twice is harmless, but not silent
    options.backgroundArguments = backgroundArguments(commandLine);
    const QJsonObject request{{QStringLiteral("kind"), QStringLiteral("import")},
                              {QStringLiteral("path"), file.absoluteFilePath()},
                              {QStringLiteral("dryRun"), commandLine.dryRun}};
    int exitCode = 0;
    const auto reply =
        OwnerClient::sendForObject(AppSettings::dataDirectory(), request, options, &exitCode);
    if (!reply)
        return exitCode;
    if (commandLine.json)
        printTo(stdout,
                QString::fromUtf8(QJsonDocument(reply->value(QLatin1String("summary")).toObject())
                                      .toJson(QJsonDocument::Indented)));
    else
        printTo(stdout, reply->value(QLatin1String("text")).toString() + QLatin1Char('\n'));
    return 0;
}
