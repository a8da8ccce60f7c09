#pragma once

#include <QSettings>
#include <QString>

// The user-defaults store and the data directory, shared by every layer.
namespace AppSettings {
// Points store and settings at dir (the --data-dir option, and every test). Call before use.
void useDataDirectory(const QString &dir);
// The platform's data directory by another spelling of it (its canonical path); settings stay
// in the platform's place.
void useDefaultDataDirectoryAt(const QString &dir);
// The data directory: the one given, else the platform's application-data location.
QString dataDirectory();
// Settings live in the data directory when one was given, else in the platform's place.
QSettings &store();
} // namespace AppSettings
