#include "model/NaturalOrder.h"

#include <QCollator>

namespace {
const QCollator &naturalCollator()
{
    static const QCollator collator = [] {
        // The C locale's collator ignores numeric mode, so fall back to a real one.
        QLocale locale = QLocale::system();
        if (locale.language() == QLocale::C)
            locale = QLocale(QLocale::English, QLocale::UnitedStates);
        QCollator c(locale);
        c.setNumericMode(true);
        c.setCaseSensitivity(Qt::CaseInsensitive);
        return c;
    }();
    return collator;
}
} // namespace

int naturalCompare(const QString &a, const QString &b)
{
    return naturalCollator().compare(a, b);
}

QCollatorSortKey naturalSortKey(const QString &text)
{
    return naturalCollator().sortKey(text);
}
