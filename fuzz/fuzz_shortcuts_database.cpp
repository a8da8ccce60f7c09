// The Shortcuts database reader on a "Shortcuts.sqlite" made of arbitrary bytes.
#include "shortcuts/ShortcutsDatabase.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir folder;
    if (!folder.isValid())
        std::abort();
    {
        QFile file(folder.filePath(QStringLiteral("Shortcuts.sqlite")));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort();
        file.write(reinterpret_cast<const char *>(data), qint64(size));
    }
    const ShortcutsDatabase::Rows rows = ShortcutsDatabase::readRows(folder.path());
    for (auto it = rows.cbegin(); it != rows.cend(); ++it) {
        if (it.key() != it->workflowID || it.key() == QLatin1String("NULL"))
            std::abort();
        if (it->appBundleID && it->appBundleID->isEmpty())
            std::abort();
    }
    return 0;
}
