#pragma once

#include <QStringList>
#include <functional>

// Opens the library window as the library's owner, or hands this launch's URLs (and with
// quickRun, Quick Run) to the window that already shows it. installPlatform chooses the
// Shortcuts side once the store is open. Returns the exit code.
int runWindowApplication(int argc, char *argv[], const QStringList &urls, bool quickRun,
                         const std::function<bool()> &installPlatform);
