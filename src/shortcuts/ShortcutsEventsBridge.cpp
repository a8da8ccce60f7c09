#include "shortcuts/ShortcutsEventsBridge.h"

#include "model/ColorHex.h"

#include <QCoro/QCoroFuture>
#include <QHash>
#include <QtConcurrent/QtConcurrentRun>

namespace {
const QString tellShortcutsEvents = QStringLiteral("tell application \"Shortcuts Events\" to ");

std::optional<QString> textAt(const AppleEventDescriptor &list, int index)
{
    const AppleEventDescriptor *item = list.itemAt(index);
    return item ? item->stringValue() : std::nullopt;
}

QString inputClause(const std::optional<QString> &input)
{
    if (!input || input->isEmpty())
        return {};
    return QStringLiteral(" with input ") + ShortcutsEventsBridge::quotedScriptString(*input);
}

ScriptHostReply runOnHost(std::shared_ptr<ScriptHost> host, QString script)
{
    return host->execute(script);
}

double clampedComponent(qint64 raw)
{
    const double c = double(raw) / 65535.0;
    if (c <= 0)
        return 0;
    return c > 1 ? 1 : c;
}
} // namespace

ShortcutsEventsBridge::ShortcutsEventsBridge(std::shared_ptr<ScriptHost> host)
    : m_host(std::move(host))
{
}

ShortcutsEventsBridge &ShortcutsEventsBridge::shared()
{
    static auto *bridge = new ShortcutsEventsBridge();
    return *bridge;
}

QThreadPool &ShortcutsEventsBridge::queue()
{
    // Made once and never released, like the process it serves.
    static QThreadPool *pool = [] {
        auto *p = new QThreadPool();
        p->setObjectName(QStringLiteral(THIMBLECRAFT_BUNDLE_ID ".shortcuts-events"));
        p->setMaxThreadCount(1);
        // A person waits on every script: user-initiated (Qt's high priority on the Mac).
        p->setThreadPriority(QThread::HighPriority);
        return p;
    }();
    return *pool;
}

QString ShortcutsEventsBridge::quotedScriptString(const QString &text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    escaped.replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

QString ShortcutsEventsBridge::listScript()
{
    return QStringLiteral(
        "tell application \"Shortcuts Events\"\n"
        "    set theNames to name of every shortcut\n"
        "    set theIDs to id of every shortcut\n"
        "    set theSubtitles to subtitle of every shortcut\n"
        "    set theColors to color of every shortcut\n"
        "    set theInputs to accepts input of every shortcut\n"
        "    set theCounts to action count of every shortcut\n"
        "    set folderNames to name of every folder\n"
        "    set memberships to {}\n"
        "    -- Index access only: the sandbox's scripting-targets grant rejects folder "
        "references and \"folder id\" lookups.\n"
        "    repeat with i from 1 to count of folders\n"
        "        set end of memberships to id of every shortcut of folder i\n"
        "    end repeat\n"
        "    return {theNames, theIDs, theSubtitles, theColors, theInputs, theCounts, "
        "folderNames, memberships}\n"
        "end tell");
}

QString ShortcutsEventsBridge::iconScript(const QString &identifier)
{
    return tellShortcutsEvents + QStringLiteral("get icon of shortcut id ") +
           quotedScriptString(identifier);
}

QString ShortcutsEventsBridge::runByIdentifierScript(const QString &identifier,
                                                     const std::optional<QString> &input)
{
    return tellShortcutsEvents + QStringLiteral("run shortcut id ") +
           quotedScriptString(identifier) + inputClause(input);
}

QString ShortcutsEventsBridge::runByNameScript(const QString &name,
                                               const std::optional<QString> &input)
{
    return tellShortcutsEvents + QStringLiteral("run shortcut ") + quotedScriptString(name) +
           inputClause(input);
}

BridgeResult<AppleEventDescriptor> ShortcutsEventsBridge::interpret(const ScriptHostReply &reply)
{
    switch (reply.kind) {
    case ScriptHostReply::Kind::reply:
        return reply.descriptor;
    case ScriptHostReply::Kind::error:
        return BridgeError::script(
            reply.errorNumber.value_or(0),
            reply.errorMessage.value_or(QStringLiteral("Unknown AppleScript error")));
    case ScriptHostReply::Kind::notUnderstood:
        break;
    }
    return BridgeError::unexpectedReply();
}

QCoro::Task<BridgeResult<AppleEventDescriptor>> ShortcutsEventsBridge::execute(QString script)
{
    // Named values only around co_await: g++ 12 destroys some temporaries of a co_await
    // full-expression twice (a lambda capturing the script released it early).
    std::shared_ptr<ScriptHost> host = m_host ? m_host : ScriptHost::shared();
    QFuture<ScriptHostReply> future = QtConcurrent::run(&queue(), runOnHost, host, script);
    const ScriptHostReply reply = co_await future;
    co_return interpret(reply);
}

BridgeResult<QList<ShortcutSnapshot>>
ShortcutsEventsBridge::decodeShortcutList(const AppleEventDescriptor &reply)
{
    if (reply.numberOfItems() != 8)
        return BridgeError::unexpectedReply();
    AppleEventDescriptor lists[8];
    for (int i = 0; i < 8; ++i) {
        const auto item = reply.descriptorAtIndex(i + 1);
        if (!item)
            return BridgeError::unexpectedReply();
        lists[i] = *item;
    }
    const auto &[names, ids, subtitles, colors, inputs, counts, folderNames, memberships] = lists;

    QHash<QString, QString> folderOf;
    qsizetype memberCount = 0;
    for (int f = 1; f <= memberships.numberOfItems(); ++f)
        memberCount += memberships.itemAt(f)->numberOfItems();
    folderOf.reserve(memberCount);
    for (int f = 1; f <= folderNames.numberOfItems(); ++f) {
        const QString folderName = textAt(folderNames, f).value_or(QString());
        const AppleEventDescriptor *members = memberships.itemAt(f);
        if (!members)
            continue;
        for (int j = 1; j <= members->numberOfItems(); ++j) {
            if (const auto id = textAt(*members, j))
                folderOf.insert(*id, folderName);
        }
    }

    QList<ShortcutSnapshot> snapshots;
    const int count = names.numberOfItems();
    snapshots.reserve(count);
    for (int i = 1; i <= count; ++i) {
        const auto identifier = textAt(ids, i);
        const auto name = textAt(names, i);
        if (!identifier || !name)
            continue;
        ShortcutSnapshot s;
        s.identifier = *identifier;
        s.name = *name;
        s.subtitle = textAt(subtitles, i).value_or(QString());
        s.colorHex = colorText(colors.itemAt(i));
        const AppleEventDescriptor *input = inputs.itemAt(i);
        s.acceptsInput = input && input->booleanValue();
        const AppleEventDescriptor *count = counts.itemAt(i);
        s.actionCount = count ? count->int32Value() : 0;
        s.folderName = folderOf.value(s.identifier);
        snapshots.append(std::move(s));
    }
    return snapshots;
}

QString ShortcutsEventsBridge::decodeColor(const std::optional<AppleEventDescriptor> &element)
{
    return colorText(element ? &*element : nullptr);
}

QString ShortcutsEventsBridge::colorText(const AppleEventDescriptor *element)
{
    if (!element)
        return {};
    qint64 components[3] = {0, 0, 0};
    if (element->numberOfItems() == 3) {
        for (int i = 0; i < 3; ++i) {
            const AppleEventDescriptor *item = element->itemAt(i + 1);
            components[i] = item ? item->int32Value() : 0;
        }
    } else {
        const QByteArray bytes = element->data();
        if (bytes.size() != 6)
            return {};
        for (int i = 0; i < 3; ++i)
            components[i] = (quint8(bytes[2 * i]) << 8) | quint8(bytes[2 * i + 1]);
    }
    return hexColorString(clampedComponent(components[0]), clampedComponent(components[1]),
                          clampedComponent(components[2]));
}

std::optional<QByteArray> ShortcutsEventsBridge::decodeIcon(const AppleEventDescriptor &reply)
{
    const QByteArray bytes = reply.data();
    if (!bytes.isEmpty())
        return bytes;
    if (const auto tiff = reply.coerceToDescriptorType(DescriptorType::tiff)) {
        const QByteArray tiffBytes = tiff->data();
        if (!tiffBytes.isEmpty())
            return tiffBytes;
    }
    return std::nullopt;
}

std::optional<QString> ShortcutsEventsBridge::decodeOutput(const AppleEventDescriptor &reply)
{
    if (reply.descriptorType() == DescriptorType::null)
        return std::nullopt;
    if (reply.numberOfItems() >= 1 && reply.descriptorType() == DescriptorType::list) {
        QStringList parts;
        for (int i = 1; i <= reply.numberOfItems(); ++i) {
            if (const auto part = decodeOutput(*reply.descriptorAtIndex(i)))
                parts.append(*part);
        }
        if (parts.isEmpty())
            return std::nullopt;
        return parts.join(QLatin1Char('\n'));
    }
    if (const auto text = reply.stringValue(); text && !text->isEmpty())
        return text;
    if (const auto url = reply.fileURLValue()) {
        const QString path = url->isLocalFile() ? url->toLocalFile() : url->path();
        if (!path.isEmpty())
            return path;
    }
    return std::nullopt;
}

QCoro::Task<BridgeResult<QList<ShortcutSnapshot>>> ShortcutsEventsBridge::listShortcuts()
{
    auto pending = execute(listScript());
    const auto reply = co_await pending;
    if (!reply)
        co_return reply.error();
    co_return decodeShortcutList(reply.value());
}

QCoro::Task<BridgeResult<std::optional<QByteArray>>>
ShortcutsEventsBridge::iconData(QString identifier)
{
    auto pending = execute(iconScript(identifier));
    const auto reply = co_await pending;
    if (!reply)
        co_return reply.error();
    co_return decodeIcon(reply.value());
}

QCoro::Task<BridgeResult<std::optional<QString>>>
ShortcutsEventsBridge::run(QString identifier, QString name, std::optional<QString> input)
{
    const bool byIdentifier =
        !identifier.isEmpty() && !identifier.startsWith(QLatin1String("name:"));
    auto pending = execute(byIdentifier ? runByIdentifierScript(identifier, input)
                                        : runByNameScript(name, input));
    auto reply = co_await pending;
    // A sandboxed app may be refused "shortcut id" but allowed to run by name.
    if (byIdentifier && !reply && reply.error().kind() == BridgeError::Kind::script &&
        reply.error().number() == -10004) {
        auto retry = execute(runByNameScript(name, input));
        reply = co_await retry;
    }
    if (!reply)
        co_return reply.error();
    co_return decodeOutput(reply.value());
}

QCoro::Task<BridgeResult<std::optional<QString>>> ShortcutsEventsBridge::runShortcut(QString named)
{
    auto pending = execute(runByNameScript(named, std::nullopt));
    const auto reply = co_await pending;
    if (!reply)
        co_return reply.error();
    co_return decodeOutput(reply.value());
}
