#include "model/NaturalOrder.h"

#include <QCollator>

int naturalCompare(const QString &a, const QString &b)
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
    return collator.compare(a, b);
}
