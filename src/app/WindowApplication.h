#pragma once

#include <QStringList>

// Opens the library window, or hands this launch's URLs to the instance that already shows it.
// Returns the exit code.
int runWindowApplication(int argc, char *argv[], const QStringList &urls);
