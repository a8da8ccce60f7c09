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
    const qsizetype end = text.indexOf(QLatin1Char('\n'));
    return (end < 0 ? text : text.left(end)).trimmed();
}

QString storedName(RunSource source)
{
    switch (source) {
    case RunSource::window:
        return QStringLiteral("window");
    case RunSource::commandLine:
        return QStringLiteral("commandLine");
    case RunSource::link:
        return QStringLiteral("link");
    case RunSource::callback:
        return QStringLiteral("callback");
    }
    return {};
}

std::optional<RunSource> runSourceFromStoredName(const QString &name)
{
    for (RunSource s :
         {RunSource::window, RunSource::commandLine, RunSource::link, RunSource::callback})
        if (storedName(s) == name)
            return s;
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
