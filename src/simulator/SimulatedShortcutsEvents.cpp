#include "simulator/SimulatedShortcutsEvents.h"

#include "shortcuts/ShortcutsEventsBridge.h"
#include "simulator/SimulatedHelperShortcut.h"
#include "simulator/SimulatedIconRenderer.h"
#include "simulator/SimulatedShortcutsDatabase.h"

#include <QFile>
#include <QHash>
#include <QThread>
#include <algorithm>
#include <cstring>
#include <limits>

namespace {
const QString tellPrefix = QStringLiteral("tell application \"Shortcuts Events\" to ");

ScriptHostReply notUnderstood()
{
    return ScriptHostReply::failure(
        -1708, QStringLiteral("Shortcuts Events got an error: Shortcuts Events doesn’t "
                              "understand the script it was sent."));
}

// Reads one AppleScript string literal at pos (which must be at its opening quote).
std::optional<QString> readLiteral(QStringView text, qsizetype &pos)
{
    if (pos >= text.size() || text[pos] != u'"')
        return std::nullopt;
    QString out;
    for (qsizetype i = pos + 1; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'"') {
            pos = i + 1;
            return out;
        }
        if (c == u'\\') {
            if (++i >= text.size())
                return std::nullopt;
            const QChar e = text[i];
            if (e == u'n')
                out += u'\n';
            else if (e == u'r')
                out += u'\r';
            else if (e == u't')
                out += u'\t';
            else if (e == u'"' || e == u'\\')
                out += e;
            else
                return std::nullopt; // AppleScript refuses unknown escapes
            continue;
        }
        out += c;
    }
    return std::nullopt;
}

// "LITERAL" or "LITERAL with input LITERAL", and nothing after.
bool readRunOperands(QStringView text, QString &target, std::optional<QString> &input)
{
    qsizetype pos = 0;
    const auto first = readLiteral(text, pos);
    if (!first)
        return false;
    target = *first;
    if (pos == text.size())
        return true;
    const QStringView withInput = u" with input ";
    if (!text.sliced(pos).startsWith(withInput))
        return false;
    pos += withInput.size();
    const auto second = readLiteral(text, pos);
    if (!second || pos != text.size())
        return false;
    input = *second;
    return true;
}

AppleEventDescriptor colorReply(const QColor &c, bool asData)
{
    // The Shortcuts app reports 16-bit components.
    const quint16 r = quint16(c.red() * 257), g = quint16(c.green() * 257),
                  b = quint16(c.blue() * 257);
    if (asData) {
        QByteArray bytes;
        for (quint16 v : {r, g, b}) {
            bytes.append(char(v >> 8));
            bytes.append(char(v & 0xFF));
        }
        return AppleEventDescriptor::data(fourCharCode("rdat"), bytes);
    }
    return AppleEventDescriptor::list({AppleEventDescriptor::integer(r),
                                       AppleEventDescriptor::integer(g),
                                       AppleEventDescriptor::integer(b)});
}

// Whether the file holds exactly these bytes, read a block at a time: an icon fetch sends
// thousands of scripts, and a copy of a large library for each one is wasted work.
bool sameContents(QFile &file, const QByteArray &known)
{
    if (file.size() != known.size())
        return false;
    char block[64 * 1024];
    qsizetype at = 0;
    for (;;) {
        const qint64 n = file.read(block, sizeof block);
        if (n < 0)
            return false;
        if (n == 0)
            return at == known.size();
        if (at + n > known.size() || std::memcmp(block, known.constData() + at, size_t(n)) != 0)
            return false;
        at += n;
    }
}

QString quoted(const QString &s)
{
    return ShortcutsEventsBridge::quotedScriptString(s);
}
} // namespace

SimulatedShortcutsEvents::SimulatedShortcutsEvents(QString libraryPath)
    : m_libraryPath(std::move(libraryPath))
{
}

AppleEventDescriptor SimulatedShortcutsEvents::listReply(const SimulatedLibrary &library)
{
    const qsizetype n = library.shortcuts.size();
    QList<AppleEventDescriptor> names, ids, subtitles, colors, inputs, counts;
    for (QList<AppleEventDescriptor> *list : {&names, &ids, &subtitles, &colors, &inputs, &counts})
        list->reserve(n);
    // Members by folder name in library order, in one pass over the shortcuts.
    QHash<QString, QList<AppleEventDescriptor>> membersOf;
    for (const QString &folder : library.folders)
        membersOf.insert(folder, {});
    for (const SimulatedShortcut &s : library.shortcuts) {
        const AppleEventDescriptor id = AppleEventDescriptor::text(s.identifier);
        names.append(AppleEventDescriptor::text(s.name));
        ids.append(id);
        subtitles.append(AppleEventDescriptor::text(s.subtitle));
        colors.append(colorReply(s.color, library.switches.colorsAsData));
        inputs.append(AppleEventDescriptor::boolean(s.acceptsInput));
        counts.append(AppleEventDescriptor::integer(
            qint32(std::clamp<qint64>(s.actionCount, 0, std::numeric_limits<qint32>::max()))));
        if (const auto members = membersOf.find(s.folder); members != membersOf.end())
            members->append(id);
    }
    QList<AppleEventDescriptor> folderNames, memberships;
    folderNames.reserve(library.folders.size());
    memberships.reserve(library.folders.size());
    for (const QString &folder : library.folders) {
        folderNames.append(AppleEventDescriptor::text(folder));
        memberships.append(AppleEventDescriptor::list(membersOf.value(folder)));
    }
    return AppleEventDescriptor::list(
        {AppleEventDescriptor::list(names), AppleEventDescriptor::list(ids),
         AppleEventDescriptor::list(subtitles), AppleEventDescriptor::list(colors),
         AppleEventDescriptor::list(inputs), AppleEventDescriptor::list(counts),
         AppleEventDescriptor::list(folderNames), AppleEventDescriptor::list(memberships)});
}

AppleEventDescriptor SimulatedShortcutsEvents::iconReply(const SimulatedShortcut &shortcut)
{
    return AppleEventDescriptor::data(
        DescriptorType::png,
        SimulatedIconRenderer::renderPNG(shortcut.glyph, shortcut.iconTop, shortcut.iconBottom));
}

std::shared_ptr<SimulatedShortcutsEvents::Parsed> SimulatedShortcutsEvents::current(QString *error)
{
    QFile file(m_libraryPath);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: %2").arg(m_libraryPath, file.errorString());
        return nullptr;
    }
    {
        QMutexLocker lock(&m_mutex);
        if (m_parsed && sameContents(file, m_parsed->json))
            return m_parsed;
    }
    file.seek(0);
    QByteArray json = file.readAll();
    QString why;
    auto library = SimulatedLibrary::fromJson(json, &why);
    if (!library) {
        *error = QStringLiteral("%1: %2").arg(m_libraryPath, why);
        return nullptr;
    }
    auto parsed =
        std::make_shared<Parsed>(Parsed{std::move(json), std::move(*library), std::nullopt});
    QMutexLocker lock(&m_mutex);
    m_parsed = parsed;
    return parsed;
}

AppleEventDescriptor
SimulatedShortcutsEvents::cachedListReply(const std::shared_ptr<Parsed> &parsed)
{
    {
        QMutexLocker lock(&m_mutex);
        if (parsed->listReply)
            return *parsed->listReply;
    }
    // Descriptors are immutable, so one reply serves every list script until the file changes.
    AppleEventDescriptor reply = listReply(parsed->library);
    QMutexLocker lock(&m_mutex);
    parsed->listReply = reply;
    return reply;
}

ScriptHostReply SimulatedShortcutsEvents::execute(const QString &script)
{
    QString error;
    const std::shared_ptr<Parsed> parsed = current(&error);
    if (!parsed)
        return ScriptHostReply::failure(
            -2700, QStringLiteral("The simulated Shortcuts library can’t be read: ") + error);
    // Shortcuts keeps its own database current with the library; a failed write only leaves
    // the previous database in place.
    SimulatedShortcutsDatabase::updateForLibrary(parsed->library, m_libraryPath);
    return answer(parsed, script);
}

ScriptHostReply SimulatedShortcutsEvents::answer(const std::shared_ptr<Parsed> &parsed,
                                                 const QString &script)
{
    const SimulatedLibrary &library = parsed->library;
    if (!library.switches.running)
        return ScriptHostReply::failure(
            -600, QStringLiteral("Shortcuts Events got an error: Application isn’t running."));
    if (!library.switches.automationAllowed)
        return ScriptHostReply::failure(
            -1743, QStringLiteral("Not authorized to send Apple events to Shortcuts Events."));
    const auto privilegeViolation = ScriptHostReply::failure(
        -10004, QStringLiteral("Shortcuts Events got an error: A privilege violation occurred."));

    if (script == ShortcutsEventsBridge::listScript()) {
        if (library.switches.listDelayMilliseconds > 0)
            QThread::msleep(ulong(library.switches.listDelayMilliseconds));
        return ScriptHostReply::success(cachedListReply(parsed));
    }
    if (!script.startsWith(tellPrefix))
        return notUnderstood();
    const QStringView command = QStringView(script).sliced(tellPrefix.size());

    const QStringView iconCommand = u"get icon of shortcut id ";
    if (command.startsWith(iconCommand)) {
        qsizetype pos = iconCommand.size();
        const auto identifier = readLiteral(command, pos);
        if (!identifier || pos != command.size())
            return notUnderstood();
        if (!library.switches.scriptedIconsAllowed)
            return privilegeViolation;
        const SimulatedShortcut *s = library.shortcutWithIdentifier(*identifier);
        if (!s)
            return ScriptHostReply::failure(
                -1728, QStringLiteral("Shortcuts Events got an error: Can’t get shortcut id %1.")
                           .arg(quoted(*identifier)));
        return ScriptHostReply::success(iconReply(*s));
    }

    const QStringView runById = u"run shortcut id ";
    const QStringView runByName = u"run shortcut ";
    QString target;
    std::optional<QString> input;
    if (command.startsWith(runById)) {
        if (!readRunOperands(command.sliced(runById.size()), target, input))
            return notUnderstood();
        if (!library.switches.runByIdentifierAllowed)
            return privilegeViolation;
        const SimulatedShortcut *s = library.shortcutWithIdentifier(target);
        if (!s)
            return ScriptHostReply::failure(
                -1728, QStringLiteral("Shortcuts Events got an error: Can’t get shortcut id %1.")
                           .arg(quoted(target)));
        return run(*s, input);
    }
    if (command.startsWith(runByName)) {
        if (!readRunOperands(command.sliced(runByName.size()), target, input))
            return notUnderstood();
        const SimulatedShortcut *s = library.shortcutNamed(target);
        if (!s)
            return ScriptHostReply::failure(
                -1728, QStringLiteral("Shortcuts Events got an error: Can’t get shortcut %1.")
                           .arg(quoted(target)));
        if (SimulatedHelperShortcut::isHelper(*s))
            return SimulatedHelperShortcut::run(library);
        return run(*s, input);
    }
    return notUnderstood();
}

ScriptHostReply SimulatedShortcutsEvents::run(const SimulatedShortcut &shortcut,
                                              const std::optional<QString> &input) const
{
    if (shortcut.run.delayMilliseconds > 0)
        QThread::msleep(ulong(shortcut.run.delayMilliseconds));
    if (shortcut.run.errorNumber)
        return ScriptHostReply::failure(*shortcut.run.errorNumber, shortcut.run.errorMessage);
    if (!shortcut.run.outputFile.isEmpty())
        return ScriptHostReply::success(
            AppleEventDescriptor::fileURL(QUrl::fromLocalFile(shortcut.run.outputFile)));
    QList<AppleEventDescriptor> outputs;
    for (QString text : shortcut.run.outputs) {
        text.replace(QLatin1String("{input}"), input.value_or(QString()));
        outputs.append(AppleEventDescriptor::text(text));
    }
    if (shortcut.run.outputIsList)
        return ScriptHostReply::success(AppleEventDescriptor::list(outputs));
    if (outputs.isEmpty())
        return ScriptHostReply::success(AppleEventDescriptor::null());
    return ScriptHostReply::success(outputs.first());
}
