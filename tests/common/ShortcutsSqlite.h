#pragma once

#include "model/SqliteDatabase.h"

#include <QStringList>

// The Shortcuts app's table as its database holds it, for suites that write a Shortcuts.sqlite.
inline const char *shortcutsSchema =
    "CREATE TABLE ZSHORTCUT (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, "
    "ZTOMBSTONED INTEGER, ZHASUSERPROVIDEDNAMEORICON INTEGER, ZACTIONCOUNT INTEGER, "
    "ZCREATIONDATE TIMESTAMP, ZMODIFICATIONDATE TIMESTAMP, ZLASTRUNEVENTDATE TIMESTAMP, "
    "ZNAME VARCHAR, ZWORKFLOWID VARCHAR, ZASSOCIATEDAPPBUNDLEIDENTIFIER VARCHAR, ZACTIONS BLOB)";

// Builds Shortcuts.sqlite in dir from SQL statements run after the schema.
inline bool makeShortcutsDatabase(const QString &dir, const QStringList &statements,
                                  const char *schema = shortcutsSchema)
{
    SqliteDatabase db;
    if (!db.open(dir + "/Shortcuts.sqlite", SqliteDatabase::Mode::readWriteCreate) ||
        !db.exec(QString::fromUtf8(schema)))
        return false;
    for (const QString &sql : statements) {
        if (!db.exec(sql)) {
            qWarning("failed: %s", qPrintable(sql));
            return false;
        }
    }
    return true;
}
