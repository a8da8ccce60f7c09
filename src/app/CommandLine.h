#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// What the command line asks for. Parsing never exits; errors come back as text (exit 2).
struct CommandLine {
    enum class Command {
        window,
        list,
        help,
        version,
        sync,
        intent,
        background,
        backup,
        folders,
        tags,
        smartLists,
        show,
        health,
        run,
        open,
        quickRun,
        exportOrganisation,
        importOrganisation,
        history,
    };
    Command command = Command::window;
    // The command whose help was asked for (`thimblecraft run --help`); window means all.
    Command helpFor = Command::window;
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
    // show/run SHORTCUT, open --shortcut SHORTCUT
    QString shortcut;
    // run: --input TEXT, or --input-file FILE ("-" for standard input)
    std::optional<QString> input;
    QString inputFile;
    // The window opens with Quick Run over it (what `quick-run` starts when no window runs).
    bool quickRun = false;
    // export [FILE|-], import FILE [--dry-run]
    QString exportFile;
    QString importFile;
    bool dryRun = false;
    // history [SHORTCUT] [--since DATE] [--failed] [--clear]
    QString since;
    bool failedOnly = false;
    bool clear = false;

    static std::optional<CommandLine> parse(const QStringList &arguments, QString *error);
    // The overview, or one command's help.
    static QString usage(Command command = Command::window);
    // Whether the command only reads the library (it never creates or writes one).
    bool onlyReads() const;
};
