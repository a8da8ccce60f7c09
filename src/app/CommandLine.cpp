#include "app/CommandLine.h"

QString CommandLine::usage()
{
    return QStringLiteral(
        "Usage: thimblecraft [OPTIONS] [thimblecraft://URL]\n"
        "       thimblecraft list [--section S] [--search TEXT] [--json] [OPTIONS]\n"
        "       thimblecraft sync [OPTIONS]\n"
        "       thimblecraft backup FILE [--force] [OPTIONS]\n"
        "       thimblecraft intent begin|finish [OPTIONS]\n"
        "       thimblecraft intent import --name N [--identifier I] [--folder F]\n"
        "                [--action-count N] [--icon FILE] [--created ISO] [--modified ISO]\n"
        "                [--position N] [OPTIONS]\n"
        "\n"
        "Commands:\n"
        "  (none)            open the library window\n"
        "  list              print the library's shortcuts, one name per line\n"
        "  sync              sync with Shortcuts without a window, print the summary\n"
        "  backup FILE       write a consistent copy of the library to FILE, also while\n"
        "                    Thimblecraft runs (--force replaces an existing FILE)\n"
        "  intent ACTION     hand a helper-shortcut intent to the running Thimblecraft\n"
        "                    (started in the background when none runs)\n"
        "  --background      run without a window, serving intents, until idle\n"
        "\n"
        "Options:\n"
        "  --data-dir DIR    keep the library store and settings in DIR\n"
        "  --script-host H   talk to Shortcuts through H: osascript (the default on macOS)\n"
        "                    or simulator (the default elsewhere)\n"
        "  --simulator-library FILE\n"
        "                    the simulated Shortcuts library (default: <data dir>/Simulated\n"
        "                    Shortcuts/library.json, made from the sample on first use)\n"
        "  --json            (list) print JSON instead of names\n"
        "  --section S       (list) one section: all, favorites, recent, unfiled, untagged,\n"
        "                    missing, folder:UUID, tag:UUID, smart:UUID, native:NAME\n"
        "  --search TEXT     (list) narrow the section by search text\n"
        "  --help            show this help\n"
        "  --version         show the version\n"
        "\n"
        "One process writes a library at a time: the window, or a windowless Thimblecraft.\n"
        "sync, intent and backup hand their work to it when it runs; list only reads.\n"
        "\n"
        "Exit codes:\n"
        "  0   success\n"
        "  1   the command failed (the reason is printed on standard error)\n"
        "  2   usage error: unknown command, option or section, or a missing value\n"
        "  66  there is no library in the data directory (list, backup)\n"
        "  70  the library store cannot be opened\n");
}

std::optional<CommandLine> CommandLine::parse(const QStringList &arguments, QString *error)
{
    CommandLine cl;
    auto fail = [&](const QString &message) -> std::optional<CommandLine> {
        *error = message;
        return std::nullopt;
    };
    int i = 1;
    if (i < arguments.size() && arguments[i] == QLatin1String("list")) {
        cl.command = Command::list;
        ++i;
    } else if (i < arguments.size() && arguments[i] == QLatin1String("sync")) {
        cl.command = Command::sync;
        ++i;
    } else if (i < arguments.size() && arguments[i] == QLatin1String("backup")) {
        cl.command = Command::backup;
        if (++i >= arguments.size() || arguments[i].startsWith(QLatin1Char('-')))
            return fail(QStringLiteral("backup needs the file to write"));
        cl.backupFile = arguments[i++];
    } else if (i < arguments.size() && arguments[i] == QLatin1String("intent")) {
        cl.command = Command::intent;
        if (++i >= arguments.size() || arguments[i].startsWith(QLatin1Char('-')))
            return fail(QStringLiteral("intent needs begin, import or finish"));
        cl.intentAction = arguments[i++];
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
            cl.command = Command::help;
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
        } else if (a == QLatin1String("--json") && cl.command == Command::list) {
            cl.json = true;
        } else if (a == QLatin1String("--section") && cl.command == Command::list) {
            if (!value(cl.section))
                return fail(QStringLiteral("--section needs a section"));
        } else if (a == QLatin1String("--search") && cl.command == Command::list) {
            if (!value(cl.search))
                return fail(QStringLiteral("--search needs a text"));
        } else if (a == QLatin1String("--force") && cl.command == Command::backup) {
            cl.force = true;
        } else if (a == QLatin1String("--background") && cl.command == Command::window) {
            cl.command = Command::background;
        } else if (cl.command == Command::intent && a.startsWith(QLatin1String("--")) &&
                   i + 1 < arguments.size()) {
            cl.intentArguments << a << arguments[++i];
        } else if (a.startsWith(QLatin1String("-"))) {
            return fail(QStringLiteral("unknown option %1").arg(a));
        } else if (cl.command == Command::window && a.startsWith(QLatin1String("thimblecraft:"))) {
            cl.positional.append(a);
        } else {
            return fail(QStringLiteral("unexpected argument %1").arg(a));
        }
    }
    return cl;
}
