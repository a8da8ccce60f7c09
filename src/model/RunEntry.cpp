#include "model/RunEntry.h"

QString RunEntry::capped(const QString &text)
{
    static const QString marker = QStringLiteral("…(truncated)");
    // Cheap test first: a UTF-16 unit is at most three UTF-8 bytes.
    if (text.size() * 3 <= maxTextBytes || text.toUtf8().size() <= maxTextBytes)
        return text;
    const qsizetype budget = maxTextBytes - marker.toUtf8().size();
    qsizetype bytes = 0;
    qsizetype end = 0;
    while (end < text.size()) {
        const QChar c = text[end];
        const bool pair =
            c.isHighSurrogate() && end + 1 < text.size() && text[end + 1].isLowSurrogate();
        const qsizetype width = pair ? 4 : c.unicode() < 0x80 ? 1 : c.unicode() < 0x800 ? 2 : 3;
        if (bytes + width > budget)
            break;
        bytes += width;
        end += pair ? 2 : 1;
    }
    return text.left(end) + marker;
}

QString RunEntry::firstLine() const
{
    // Outputs often start with an empty line; that says nothing about the run.
    for (qsizetype start = 0; start < text.size();) {
        qsizetype end = text.indexOf(QLatin1Char('\n'), start);
        if (end < 0)
            end = text.size();
        const QString line = text.mid(start, end - start).trimmed();
        if (!line.isEmpty())
            return line;
        start = end + 1;
    }
    return {};
}

namespace {
struct SourceNames {
    RunSource source;
    const char *stored;
    const char *title;
};
constexpr SourceNames sourceNames[] = {
    {RunSource::window, "window", "Window"},
    {RunSource::commandLine, "commandLine", "Command Line"},
    {RunSource::link, "link", "Link"},
    {RunSource::callback, "callback", "Callback"},
};

const SourceNames *namesOf(RunSource source)
{
    for (const SourceNames &names : sourceNames)
        if (names.source == source)
            return &names;
    return nullptr;
}
} // namespace

QString storedName(RunSource source)
{
    const SourceNames *names = namesOf(source);
    return names ? QString::fromLatin1(names->stored) : QString();
}

QString title(RunSource source)
{
    const SourceNames *names = namesOf(source);
    return names ? QString::fromLatin1(names->title) : QString();
}

std::optional<RunSource> runSourceFromStoredName(const QString &name)
{
    for (const SourceNames &names : sourceNames)
        if (name == QLatin1String(names.stored))
            return names.source;
    return std::nullopt;
}

QString storedName(RunOutcome outcome)
{
    switch (outcome) {
    case RunOutcome::succeeded:
        return QStringLiteral("succeeded");
    case RunOutcome::failed:
        return QStringLiteral("failed");
    case RunOutcome::none:
        break;
    }
    return QStringLiteral("unfinished");
}

QString runDurationText(qint64 ms)
{
    if (ms < 1000)
        return QStringLiteral("%1 ms").arg(ms);
    if (ms < 60000)
        return QStringLiteral("%1 s").arg(QString::number(ms / 1000.0, 'f', 1));
    return QStringLiteral("%1 min %2 s")
        .arg(QString::number(ms / 60000), QString::number(ms / 1000 % 60));
}

QString runEntrySummary(const RunEntry &entry)
{
    switch (entry.outcome) {
    case RunOutcome::succeeded:
        return entry.durationMs
                   ? QStringLiteral("succeeded in %1").arg(runDurationText(*entry.durationMs))
                   : QStringLiteral("succeeded");
    case RunOutcome::failed:
        return entry.durationMs
                   ? QStringLiteral("failed after %1").arg(runDurationText(*entry.durationMs))
                   : QStringLiteral("failed");
    case RunOutcome::none:
        break;
    }
    return QStringLiteral("unfinished");
}
