#pragma once

#include "model/LibraryStore.h"

#include <QString>
#include <memory>

class ModelContext;

namespace LibraryStoreContainer {
// The store file inside a data directory.
QString storePath(const QString &dataDirectory);
// Opens the store and loads every record; a failed attempt is tried once more before giving up.
std::unique_ptr<ModelContext> open(const QString &dataDirectory, QString *error);
// For a read-only command: the store opened for reading (nothing beside it is created).
std::unique_ptr<ModelContext> openReadOnly(const QString &dataDirectory, QString *error,
                                           LibraryStore::Writers writers);
// "Could not open the Thimblecraft store: " and the reason.
QString openErrorMessage(const QString &error);
// The process-wide context, opened on first use in AppSettings::dataDirectory(). A store that
// cannot be opened ends the process with "Could not open the Thimblecraft store: …".
ModelContext &shared();
// For tests and the command line: use this context as the shared one (takes ownership).
void setShared(std::unique_ptr<ModelContext> context);
[[noreturn]] void fatalOpenError(const QString &error);
} // namespace LibraryStoreContainer
