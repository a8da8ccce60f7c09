#include "shortcuts/BridgeError.h"

QString BridgeError::localizedDescription() const
{
    if (m_kind == Kind::unexpectedReply)
        return QStringLiteral("Shortcuts returned a reply Thimblecraft didn't understand.");
    switch (m_number) {
    case -10004:
        return QStringLiteral("Shortcuts doesn't allow this from a sandboxed app.");
    case -600:
        return QStringLiteral("Shortcuts Events isn't available on this Mac.");
    case -1743:
        return QStringLiteral("Thimblecraft isn't allowed to control Shortcuts. Enable it under "
                              "System Settings › Privacy & Security › Automation.");
    default:
        // Concatenated: the message may hold "%1" of its own.
        return m_message + QStringLiteral(" (") + QString::number(m_number) + QLatin1Char(')');
    }
}
