#pragma once

#include <QString>
#include <QUuid>

// Upper-case 36-character form of a new random UUID.
inline QString newIdentifierString()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}
