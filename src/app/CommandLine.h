#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// What the command line asks for. Parsing never exits; errors come back as text (exit 2).
struct CommandLine {
    enum class Command { window, list, help, version, sync, intent, background, backup };
    Command command = Command::window;
    QString dataDir;
    bool json = false;
    QString section;
    QString search;
    QStringList positional; // e.g. an incoming thimblecraft:// URL
    // --script-host osascript|simulator; empty means the platform's default.
    QString scriptHost;
    QString simulatorLibrary;
    // intent begin|import|finish and the intent's own options (checked by the intent command).
    QString intentAction;
    QStringList intentArguments;
    // backup FILE [--force]
    QString backupFile;
    bool force = false;

    static std::optional<CommandLine> parse(const QStringList &arguments, QString *error);
    static QString usage();
};
