#include "shortcuts/ShortcutRunner.h"

#include "model/Clock.h"
#include "model/LibraryLookup.h"
#include "model/LibrarySettings.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "shortcuts/Workspace.h"

#include <QCoro/QCoroTask>
#include <QElapsedTimer>
#include <QPointer>
#include <QStringDecoder>
#include <cctype>

namespace {
// Strict decoding: a "%" without two hexadecimal digits, or bytes that are not UTF-8, fail.
std::optional<QString> removingPercentEncoding(const QString &text)
{
    const QByteArray in = text.toUtf8();
    QByteArray out;
    out.reserve(in.size());
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in[i] != '%') {
            out.append(in[i]);
            continue;
        }
        if (i + 2 >= in.size())
            return std::nullopt;
        const int hi =
            QByteArrayView("0123456789abcdef").indexOf(char(std::tolower(uchar(in[i + 1]))));
        const int lo =
            QByteArrayView("0123456789abcdef").indexOf(char(std::tolower(uchar(in[i + 2]))));
        if (hi < 0 || lo < 0)
            return std::nullopt;
        out.append(char(hi * 16 + lo));
        i += 2;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(out);
    if (decoder.hasError())
        return std::nullopt;
    return decoded;
}

// The query as items, each name and value percent-decoded once; an item without "=", or whose
// value does not decode to UTF-8, has no value.
QList<std::pair<QString, std::optional<QString>>> queryItems(const QUrl &url)
{
    QList<std::pair<QString, std::optional<QString>>> items;
    if (!url.hasQuery())
        return items;
    const QString query = url.query(QUrl::FullyEncoded);
    if (query.isEmpty())
        return items;
    for (const QString &piece : query.split(QLatin1Char('&'))) {
        const qsizetype eq = piece.indexOf(QLatin1Char('='));
        const QString name =
            removingPercentEncoding(piece.left(eq < 0 ? piece.size() : eq)).value_or(QString());
        std::optional<QString> value;
        if (eq >= 0)
            value = removingPercentEncoding(piece.mid(eq + 1));
        items.append({name, value});
    }
    return items;
}

std::optional<QString> firstValue(const QList<std::pair<QString, std::optional<QString>>> &items,
                                  QLatin1String name)
{
    for (const auto &[key, value] : items) {
        if (key == name)
            return value;
    }
    return std::nullopt;
}

// The host as the URL's text spells it (QUrl lower-cases it); empty when there is none.
QString hostAsWritten(QStringView afterScheme)
{
    if (!afterScheme.startsWith(u"//"))
        return {};
    QStringView authority = afterScheme.sliced(2);
    for (qsizetype i = 0; i < authority.size(); ++i) {
        const QChar c = authority[i];
        if (c == u'/' || c == u'?' || c == u'#') {
            authority.truncate(i);
            break;
        }
    }
    if (const qsizetype at = authority.lastIndexOf(u'@'); at >= 0)
        authority = authority.sliced(at + 1);
    const qsizetype colon = authority.lastIndexOf(u':');
    if (colon >= 0 && authority.indexOf(u']', colon) < 0)
        authority.truncate(colon);
    return authority.toString();
}
} // namespace

ShortcutRunner::ShortcutRunner(ShortcutsEventsBridge *bridge, Workspace *workspace, QObject *parent)
    : QObject(parent), m_bridge(bridge), m_workspace(workspace)
{
}

ShortcutRunner &ShortcutRunner::shared()
{
    static auto *runner = new ShortcutRunner();
    return *runner;
}

ShortcutsEventsBridge &ShortcutRunner::bridge() const
{
    return m_bridge ? *m_bridge : ShortcutsEventsBridge::shared();
}

Workspace &ShortcutRunner::workspace() const
{
    return m_workspace ? *m_workspace : Workspace::shared();
}

void ShortcutRunner::setLatestOutcome(const QString &name, const std::optional<QString> &output,
                                      const std::optional<QString> &error)
{
    m_latestOutcome = Outcome{QUuid::createUuid(), name, output, error, Clock::now()};
    emit latestOutcomeChanged();
}

void ShortcutRunner::finishRun(const QString &identifier)
{
    if (m_runningIdentifiers.remove(identifier))
        emit runningIdentifiersChanged();
}

void ShortcutRunner::run(ShortcutItem *item, const std::optional<QString> &input, RunSource source)
{
    runForOutcome(item, input, source); // runs on by itself
}

QCoro::Task<std::optional<ShortcutRunner::Outcome>>
ShortcutRunner::runForOutcome(ShortcutItem *item, std::optional<QString> input, RunSource source)
{
    if (!item)
        co_return std::nullopt;
    const QString identifier = item->identifier();
    const QString name = item->name();
    if (!m_runningIdentifiers.contains(identifier)) {
        m_runningIdentifiers.insert(identifier);
        emit runningIdentifiersChanged();
    }
    const QDateTime startedAt = Clock::now();
    QElapsedTimer duration;
    duration.start();
    item->setLastRunAt(startedAt);
    item->setRunCount(item->runCount() + 1);
    // A deleted record stays valid while its context lives.
    QPointer<ModelContext> context(item->context());
    qint64 entry = 0;
    if (context) {
        if (LibrarySettings::keepRunHistory())
            entry = context->beginRunEntry(item, input, source, startedAt);
        context->save(); // a failed save must not stop the run
    }

    QPointer<ShortcutRunner> self(this);
    auto pending = bridge().run(identifier, name, input); // named: see the bridge's execute()
    const auto result = co_await pending;
    const RunOutcome ended = result ? RunOutcome::succeeded : RunOutcome::failed;
    const QString text =
        result ? result.value().value_or(QString()) : result.error().localizedDescription();
    if (context) {
        item->setLastRunOutcome(ended);
        context->finishRunEntry(entry, ended, text, duration.elapsed());
        context->save();
    }
    if (!self)
        co_return std::nullopt;
    if (result)
        self->setLatestOutcome(name, result.value(), std::nullopt);
    else
        self->setLatestOutcome(name, std::nullopt, text);
    const std::optional<Outcome> outcome = self->m_latestOutcome;
    self->finishRun(identifier);
    co_return outcome;
}

void ShortcutRunner::setCallbackContext(ModelContext *context)
{
    m_callbackContext = context;
}

void ShortcutRunner::recordCallback(const QString &name, const std::optional<QString> &output,
                                    const std::optional<QString> &error)
{
    if (!m_callbackContext)
        return;
    // A name several shortcuts share cannot say which one ran.
    const QList<ShortcutItem *> named = LibraryLookup::shortcutsNamed(*m_callbackContext, name);
    if (named.size() != 1)
        return;
    ShortcutItem *item = named.first();
    const RunOutcome ended = error ? RunOutcome::failed : RunOutcome::succeeded;
    item->setLastRunOutcome(ended);
    if (LibrarySettings::keepRunHistory()) {
        RunEntry entry;
        entry.itemId = item->persistentId();
        entry.startedAt = Clock::now();
        entry.outcome = ended;
        entry.text = error.value_or(output.value_or(QString()));
        entry.source = RunSource::callback;
        m_callbackContext->addRunEntry(entry);
    }
    m_callbackContext->save();
}

QUrl ShortcutRunner::openShortcutURL(const QString &name)
{
    QUrl url;
    url.setScheme(QStringLiteral("shortcuts"));
    url.setHost(QStringLiteral("open-shortcut"));
    // Encode everything a query value may not carry literally, so "&" and "+" survive.
    url.setQuery(QStringLiteral("name=") + QString::fromLatin1(QUrl::toPercentEncoding(name)),
                 QUrl::StrictMode);
    return url;
}

void ShortcutRunner::openInShortcuts(const ShortcutItem *item)
{
    if (item)
        workspace().openUrl(openShortcutURL(item->name()));
}

void ShortcutRunner::handleCallbackURL(const QUrl &url)
{
    handleCallbackURL(url.toString(QUrl::FullyEncoded));
}

void ShortcutRunner::handleCallbackURL(const QString &urlText)
{
    // Scheme and host are compared on the text as it came, case-sensitively.
    const qsizetype colon = urlText.indexOf(QLatin1Char(':'));
    if (colon <= 0 || QStringView(urlText).first(colon) != u"thimblecraft")
        return;
    const QUrl url(urlText);
    if (!url.isValid())
        return;
    const auto items = queryItems(url);
    QString name = QStringLiteral("Shortcut");
    if (const auto value = firstValue(items, QLatin1String("name")); value) {
        if (const auto decoded = removingPercentEncoding(*value))
            name = *decoded;
    }
    const QString host = hostAsWritten(QStringView(urlText).sliced(colon + 1));
    if (host.isEmpty())
        return;
    if (host == QLatin1String("run-success")) {
        const auto output = firstValue(items, QLatin1String("result"));
        setLatestOutcome(name, output, std::nullopt);
        recordCallback(name, output.value_or(QString()), std::nullopt);
    } else if (host == QLatin1String("run-error")) {
        const QString error = firstValue(items, QLatin1String("errorMessage"))
                                  .value_or(QStringLiteral("The shortcut reported an error."));
        setLatestOutcome(name, std::nullopt, error);
        recordCallback(name, std::nullopt, error);
    }
}
