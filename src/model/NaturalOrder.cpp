#include "model/NaturalOrder.h"

#include <QCollator>

int naturalCompare(const QString &a, const QString &b)
{
    static const QCollator collator = [] {
        QCollator c;
        c.setNumericMode(true);
        c.setCaseSensitivity(Qt::CaseInsensitive);
        return c;
    }();
    return collator.compare(a, b);
}
