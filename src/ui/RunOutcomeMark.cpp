#include "ui/RunOutcomeMark.h"

namespace {
struct Look {
    const char *symbol;
    QRgb color; // 0: the caller's colour
    const char *title;
    const char *emptyText;
};

const Look &lookOf(RunOutcome outcome)
{
    static const Look succeeded{"checkmark.circle.fill", qRgb(0x34, 0xC7, 0x59), "Succeeded",
                                "No output"};
    static const Look failed{"exclamationmark.triangle.fill", qRgb(0xFF, 0x95, 0x00), "Failed",
                             "No error message"};
    static const Look unfinished{"clock", 0, "Unfinished", "Unfinished"};
    return outcome == RunOutcome::succeeded ? succeeded
           : outcome == RunOutcome::failed  ? failed
                                            : unfinished;
}
} // namespace

QString RunOutcomeMark::symbol(RunOutcome outcome)
{
    return QString::fromLatin1(lookOf(outcome).symbol);
}

QColor RunOutcomeMark::color(RunOutcome outcome, const QColor &unfinished)
{
    const QRgb rgb = lookOf(outcome).color;
    return rgb ? QColor(rgb) : unfinished;
}

QString RunOutcomeMark::title(RunOutcome outcome)
{
    return QString::fromLatin1(lookOf(outcome).title);
}

QString RunOutcomeMark::emptyText(RunOutcome outcome)
{
    return QString::fromLatin1(lookOf(outcome).emptyText);
}
