#include "app/CommandLine.h"

#include <QHash>

namespace {
using Command = CommandLine::Command;

struct CommandInfo {
    Command command;
    const char *name;
    const char *help;
};

const QString kCommonOptions = QStringLiteral(
    "Options for every command:\n"
    "  --data-dir DIR    the library in DIR (default: the platform's data folder)\n"
    "  --script-host H   talk to Shortcuts through H: osascript (the default on macOS)\n"
    "                    or simulator (the default elsewhere)\n"
    "  --simulator-library FILE\n"
    "                    the simulated Shortcuts library (default: <data dir>/Simulated\n"
    "                    Shortcuts/library.json, made from the sample on first use)\n"
    "  --help            show help (thimblecraft COMMAND --help: that command's)\n"
    "  --version         show the version\n");

const QString kExitCodes = QStringLiteral(
    "Exit codes:\n"
    "  0   success\n"
    "  1   the command failed (the reason is printed on standard error)\n"
    "  2   usage error: unknown command, option or section, a missing value, or a\n"
    "      shortcut name shared by several shortcuts (the candidates are listed)\n"
    "  66  there is no library in the data directory (read commands never make one)\n"
    "  70  the library store cannot be opened\n");

const CommandInfo kCommands[] = {
    {Command::list, "list",
     "thimblecraft list [--section S] [--search TEXT] [--json]\n"
     "  Prints the library's shortcuts, one name per line (--json: a JSON array of records).\n"
     "  --section S     one section: all, favorites, recent, unfiled, untagged, missing,\n"
     "                  folder:UUID|PATH, tag:UUID|PATH, smart:UUID|NAME, native:NAME\n"
     "                  (PATH: names from the top, e.g. folder:Work/Clients)\n"
     "  --search TEXT   narrow by search text (names, tags, notes)\n"},
    {Command::folders, "folders",
     "thimblecraft folders [--json]\n"
     "  Prints the folder tree: each folder's name, shortcuts (with subfolders) and uuid.\n"
     "  --json keys: uuid, title, path, depth, parent, count, totalCount.\n"},
    {Command::tags, "tags",
     "thimblecraft tags [--json]\n"
     "  Prints the tag tree: each tag's name, shortcuts (with nested tags) and uuid.\n"
     "  --json keys: uuid, title, path, depth, parent, count, totalCount.\n"},
    {Command::smartLists, "smart-lists",
     "thimblecraft smart-lists [--json]\n"
     "  Prints every smart list with its rules in words, sort and number of shortcuts.\n"
     "  --json keys: uuid, name, match (all|any), rules, sort, ascending, includeMissing,\n"
     "  count.\n"},
    {Command::show, "show",
     "thimblecraft show SHORTCUT [--json]\n"
     "  Prints every field of one shortcut, its folder path and tags.\n"
     "  SHORTCUT is an identifier, a name, or name:NAME.\n"},
    {Command::history, "history",
     "thimblecraft history [SHORTCUT] [--since DATE] [--failed] [--json]\n"
     "thimblecraft history --clear [SHORTCUT]\n"
     "  Prints the run history, newest first: when each run started, how long it took,\n"
     "  whether it succeeded, where it came from and the first line of its output or error.\n"
     "  SHORTCUT: only that shortcut's runs. --since DATE: runs from then on (YYYY-MM-DD,\n"
     "  or an ISO date and time). --failed: only failed runs. --clear removes the history\n"
     "  (of SHORTCUT, or all of it) through the running Thimblecraft.\n"
     "  --json keys: id, shortcut, identifier, startedAt, durationMs, hasInput, input,\n"
     "  outcome (succeeded|failed|unfinished), output, error, source (window|commandLine|\n"
     "  link|callback).\n"},
    {Command::health, "health",
     "thimblecraft health [--json]\n"
     "  Checks the library for what makes shortcuts fail or hard to find: names several\n"
     "  shortcuts share, names with spaces at the ends, line breaks, control characters,\n"
     "  double quotes or backslashes, placeholders never linked, missing shortcuts that\n"
     "  keep notes, tags, a folder or a favourite mark, shortcuts not run in 180 days,\n"
     "  smart lists whose rules cannot be read or name deleted folders or tags, and empty\n"
     "  folders and tags. Prints them grouped, with what each means and how to fix it.\n"
     "  --json keys: problemCount, groups (kind, title, explanation, fix, findings); a\n"
     "  finding has record (shortcut|folder|tag|smartList), name, detail, and identifier\n"
     "  (shortcuts), uuid (the others) and path (folders and tags).\n"
     "  Exit code 1 when it finds problems, 0 when it finds none.\n"},
    {Command::run, "run",
     "thimblecraft run SHORTCUT [--input TEXT | --input-file FILE | --input -] [--json]\n"
     "  Runs a shortcut through the running Thimblecraft (one is started without a window\n"
     "  when none runs) and counts the run. Prints the output; on failure the error goes\n"
     "  to standard error and the exit code is 1. --input - reads the input from standard\n"
     "  input. --json prints the whole outcome (name, identifier, ok, output, error, date).\n"},
    {Command::open, "open",
     "thimblecraft open [SECTION | --shortcut SHORTCUT]\n"
     "  Brings the window forward (starting it if needed) at a section (as in list\n"
     "  --section, or health for the health report) or with a shortcut selected.\n"},
    {Command::quickRun, "quick-run",
     "thimblecraft quick-run\n"
     "  Opens Quick Run over the window (starting Thimblecraft if needed): type a few\n"
     "  letters of a shortcut and press Enter to run it. Bind this command to a key in\n"
     "  your desktop's keyboard settings to reach your shortcuts from anywhere.\n"
     "  Exits 0 once the window has it, 1 when no window could be started.\n"},
    {Command::exportOrganisation, "export",
     "thimblecraft export [FILE | -]\n"
     "  Writes the library's organisation (folders, tags, smart lists, and per shortcut its\n"
     "  favourite mark, notes, folder, tags and run count) as one JSON document to FILE, or\n"
     "  to standard output. docs/organisation-format.md describes the format.\n"},
    {Command::importOrganisation, "import",
     "thimblecraft import FILE [--dry-run] [--json]\n"
     "  Merges an exported organisation into the library and prints what changed; nothing\n"
     "  is deleted and the library's own values win. --dry-run tells what would change.\n"
     "  A file that cannot be read as a whole changes nothing.\n"},
    {Command::sync, "sync",
     "thimblecraft sync\n"
     "  Syncs with Shortcuts without a window and prints the summary. When Thimblecraft\n"
     "  runs, it does the sync; the summary is always of a sync begun after you asked.\n"},
    {Command::backup, "backup",
     "thimblecraft backup FILE [--force]\n"
     "  Writes a consistent copy of the library to FILE, also while Thimblecraft runs.\n"
     "  --force replaces an existing FILE.\n"},
    {Command::intent, "intent",
     "thimblecraft intent begin|finish\n"
     "thimblecraft intent import --name N [--identifier I] [--folder F] [--action-count N]\n"
     "         [--icon FILE] [--created ISO] [--modified ISO] [--position N]\n"
     "  The helper shortcut's three steps, handed to the running Thimblecraft (one is\n"
     "  started without a window when none runs).\n"},
};

const CommandInfo *infoFor(Command command)
{
    for (const CommandInfo &info : kCommands)
        if (info.command == command)
            return &info;
    return nullptr;
}

const CommandInfo *infoNamed(const QString &name)
{
    for (const CommandInfo &info : kCommands)
        if (name == QLatin1String(info.name))
            return &info;
    return nullptr;
}

bool takesJson(Command c)
{
    return c == Command::list || c == Command::folders || c == Command::tags ||
           c == Command::smartLists || c == Command::show || c == Command::health ||
           c == Command::run || c == Command::importOrganisation || c == Command::history;
}
} // namespace

QString CommandLine::usage(Command command)
{
    if (const CommandInfo *info = infoFor(command))
        return QStringLiteral("Usage: ") + QString::fromUtf8(info->help) + QLatin1Char('\n') +
               kCommonOptions + QLatin1Char('\n') + kExitCodes;
    QString text = QStringLiteral("Usage: thimblecraft [OPTIONS] [thimblecraft://URL]\n"
                                  "       thimblecraft COMMAND [ARGUMENTS] [OPTIONS]\n"
                                  "\n"
                                  "Without a command the library window opens (or comes forward).\n"
                                  "\n"
                                  "Commands:\n");
    for (const CommandInfo &info : kCommands) {
        const QString help = QString::fromUtf8(info.help);
        text += QStringLiteral("  ") + help.section(QLatin1Char('\n'), 0, 0) + QLatin1Char('\n');
    }
    text += QStringLiteral(
        "  --background      run without a window, serving other commands, until idle\n"
        "  --quick-run       open the window with Quick Run over it\n"
        "\n"
        "One process writes a library at a time: the window, or a windowless Thimblecraft.\n"
        "sync, run, intent, import, backup and history --clear hand their work to it when it\n"
        "runs; list, folders, tags, smart-lists, show, health, history and export only read.\n"
        "\n");
    return text + kCommonOptions + QLatin1Char('\n') + kExitCodes;
}

bool CommandLine::onlyReads() const
{
    return command == Command::list || command == Command::backup || command == Command::folders ||
           command == Command::tags || command == Command::smartLists || command == Command::show ||
           command == Command::health || (command == Command::history && !clear);
}

std::optional<CommandLine> CommandLine::parse(const QStringList &arguments, QString *error)
{
    CommandLine cl;
    auto fail = [&](const QString &message) -> std::optional<CommandLine> {
        *error = message;
        return std::nullopt;
    };
    int i = 1;
    if (i < arguments.size()) {
        if (const CommandInfo *info = infoNamed(arguments[i])) {
            cl.command = info->command;
            ++i;
        }
    }
    // A command's own positional argument comes first.
    auto positional = [&](QString &out) -> bool {
        if (i >= arguments.size() || arguments[i].startsWith(QLatin1Char('-')))
            return false;
        out = arguments[i++];
        return true;
    };
    const bool asksHelp =
        arguments.contains(QStringLiteral("--help")) || arguments.contains(QStringLiteral("-h"));
    switch (cl.command) {
    case Command::backup:
        if (!positional(cl.backupFile) && !asksHelp)
            return fail(QStringLiteral("backup needs the file to write"));
        break;
    case Command::intent:
        if (!positional(cl.intentAction) && !asksHelp)
            return fail(QStringLiteral("intent needs begin, import or finish"));
        break;
    case Command::show:
    case Command::run:
        if (!positional(cl.shortcut) && !asksHelp)
            return fail(QStringLiteral("%1 needs a shortcut (identifier or name)")
                            .arg(QString::fromUtf8(infoFor(cl.command)->name)));
        break;
    case Command::open:
        positional(cl.section);
        break;
    case Command::history:
        positional(cl.shortcut);
        break;
    case Command::exportOrganisation:
        if (i < arguments.size() &&
            (arguments[i] == QLatin1String("-") || !arguments[i].startsWith(QLatin1Char('-'))))
            cl.exportFile = arguments[i++];
        break;
    case Command::importOrganisation:
        if (!positional(cl.importFile) && !asksHelp)
            return fail(QStringLiteral("import needs the file to read"));
        break;
    default:
        break;
    }
    for (; i < arguments.size(); ++i) {
        const QString &a = arguments[i];
        auto value = [&](QString &out) -> bool {
            if (i + 1 >= arguments.size())
                return false;
            out = arguments[++i];
            return true;
        };
        if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            cl.helpFor = cl.command;
            cl.command = Command::help;
            return cl;
        } else if (a == QLatin1String("--version")) {
            cl.command = Command::version;
        } else if (a == QLatin1String("--data-dir")) {
            if (!value(cl.dataDir) || cl.dataDir.isEmpty())
                return fail(QStringLiteral("--data-dir needs a directory"));
        } else if (a == QLatin1String("--script-host")) {
            if (!value(cl.scriptHost) || (cl.scriptHost != QLatin1String("osascript") &&
                                          cl.scriptHost != QLatin1String("simulator")))
                return fail(QStringLiteral("--script-host needs osascript or simulator"));
        } else if (a == QLatin1String("--simulator-library")) {
            if (!value(cl.simulatorLibrary) || cl.simulatorLibrary.isEmpty())
                return fail(QStringLiteral("--simulator-library needs a file"));
        } else if (a == QLatin1String("--json") && takesJson(cl.command)) {
            cl.json = true;
        } else if (a == QLatin1String("--section") && cl.command == Command::list) {
            if (!value(cl.section))
                return fail(QStringLiteral("--section needs a section"));
        } else if (a == QLatin1String("--search") && cl.command == Command::list) {
            if (!value(cl.search))
                return fail(QStringLiteral("--search needs a text"));
        } else if (a == QLatin1String("--dry-run") && cl.command == Command::importOrganisation) {
            cl.dryRun = true;
        } else if (a == QLatin1String("--since") && cl.command == Command::history) {
            if (!value(cl.since) || cl.since.isEmpty())
                return fail(QStringLiteral("--since needs a date"));
        } else if (a == QLatin1String("--failed") && cl.command == Command::history) {
            cl.failedOnly = true;
        } else if (a == QLatin1String("--clear") && cl.command == Command::history) {
            cl.clear = true;
        } else if (a == QLatin1String("--force") && cl.command == Command::backup) {
            cl.force = true;
        } else if (a == QLatin1String("--input") && cl.command == Command::run) {
            QString text;
            if (cl.input || !cl.inputFile.isEmpty() || !value(text))
                return fail(QStringLiteral("--input needs a text (or - for standard input), once"));
            if (text == QLatin1String("-"))
                cl.inputFile = text;
            else
                cl.input = text;
        } else if (a == QLatin1String("--input-file") && cl.command == Command::run) {
            if (cl.input || !cl.inputFile.isEmpty() || !value(cl.inputFile) ||
                cl.inputFile.isEmpty())
                return fail(QStringLiteral("--input-file needs a file, instead of --input"));
        } else if (a == QLatin1String("--shortcut") && cl.command == Command::open) {
            if (!cl.section.isEmpty() || !value(cl.shortcut) || cl.shortcut.isEmpty())
                return fail(QStringLiteral("open takes a section or --shortcut SHORTCUT"));
        } else if (a == QLatin1String("--background") && cl.command == Command::window) {
            cl.command = Command::background;
        } else if (a == QLatin1String("--quick-run") && cl.command == Command::window) {
            cl.quickRun = true;
        } else if (cl.command == Command::intent && a.startsWith(QLatin1String("--")) &&
                   i + 1 < arguments.size()) {
            cl.intentArguments << a << arguments[++i];
        } else if (a.startsWith(QLatin1String("-"))) {
            return fail(QStringLiteral("unknown option %1").arg(a));
        } else if (cl.command == Command::history && cl.shortcut.isEmpty()) {
            cl.shortcut = a; // after the options: history --clear SHORTCUT
        } else if (cl.command == Command::window && a.startsWith(QLatin1String("thimblecraft:"))) {
            cl.positional.append(a);
        } else {
            return fail(QStringLiteral("unexpected argument %1").arg(a));
        }
    }
    return cl;
}
