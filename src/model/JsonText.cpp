#include "model/JsonText.h"

void appendJsonString(QByteArray &out, QStringView text)
{
    static constexpr char hex[] = "0123456789abcdef";
    out.append('"');
    const QByteArray utf8 = text.toUtf8();
    for (const char c : utf8) {
        const auto u = static_cast<unsigned char>(c);
        switch (c) {
        case '"':
            out.append("\\\"", 2);
            break;
        case '\\':
            out.append("\\\\", 2);
            break;
        case '\n':
            out.append("\\n", 2);
            break;
        case '\r':
            out.append("\\r", 2);
            break;
        case '\t':
            out.append("\\t", 2);
            break;
        default:
            if (u < 0x20) {
                const char escaped[] = {'\\', 'u', '0', '0', hex[u >> 4], hex[u & 0xF]};
                out.append(escaped, 6);
            } else {
                out.append(c);
            }
        }
    }
    out.append('"');
}
