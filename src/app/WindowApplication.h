#pragma once

#include <QStringList>
#include <functional>

// Opens the library window as the library's owner, or hands this launch's URLs to the window
// that already shows it. installPlatform chooses the Shortcuts side once the store is open.
// Returns the exit code.
int runWindowApplication(int argc, char *argv[], const QStringList &urls,
                         const std::function<bool()> &installPlatform);
