#include "model/LibraryStoreContainer.h"

#include "model/AppSettings.h"
#include "model/LibraryStore.h"
#include "model/ModelContext.h"

#include <QDir>
#include <QFileInfo>
#include <cstdio>
#include <cstdlib>

namespace {
std::unique_ptr<ModelContext> &sharedContext()
{
    static std::unique_ptr<ModelContext> context;
    return context;
}

// A context holding every record of an opened store; nothing when there is no store or it
// does not load.
std::unique_ptr<ModelContext> loaded(std::unique_ptr<LibraryStore> store, QString *error)
{
    if (!store)
        return nullptr;
    LibraryStore *raw = store.get();
    auto context = std::make_unique<ModelContext>(std::move(store));
    if (!raw->load(*context, error))
        return nullptr;
    return context;
}

std::unique_ptr<ModelContext> attempt(const QString &dataDirectory, QString *error)
{
    if (!QDir().mkpath(dataDirectory)) {
        *error = QStringLiteral("cannot create the data directory %1").arg(dataDirectory);
        return nullptr;
    }
    return loaded(LibraryStore::open(LibraryStoreContainer::storePath(dataDirectory), error),
                  error);
}
} // namespace

QString LibraryStoreContainer::storePath(const QString &dataDirectory)
{
    return QDir(dataDirectory).filePath(QStringLiteral("Thimblecraft.store"));
}

std::unique_ptr<ModelContext> LibraryStoreContainer::open(const QString &dataDirectory,
                                                          QString *error)
{
    QString first;
    if (auto context = attempt(dataDirectory, &first))
        return context;
    // One more try; the first error is dropped.
    QString second;
    auto context = attempt(dataDirectory, &second);
    if (!context && error)
        *error = second;
    return context;
}

std::unique_ptr<ModelContext> LibraryStoreContainer::openReadOnly(const QString &dataDirectory,
                                                                  QString *error,
                                                                  LibraryStore::Writers writers)
{
    return loaded(LibraryStore::openReadOnly(storePath(dataDirectory), error, writers), error);
}

QString LibraryStoreContainer::openErrorMessage(const QString &error)
{
    return QStringLiteral("Could not open the Thimblecraft store: ") + error;
}

ModelContext &LibraryStoreContainer::shared()
{
    auto &context = sharedContext();
    if (!context) {
        QString error;
        context = open(AppSettings::dataDirectory(), &error);
        if (!context)
            fatalOpenError(error);
    }
    return *context;
}

void LibraryStoreContainer::setShared(std::unique_ptr<ModelContext> context)
{
    sharedContext() = std::move(context);
}

void LibraryStoreContainer::fatalOpenError(const QString &error)
{
    const QByteArray message = openErrorMessage(error).toUtf8();
    std::fprintf(stderr, "%s\n", message.constData());
    std::fflush(stderr);
    std::_Exit(70);
}
