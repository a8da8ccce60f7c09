#include "shortcuts/ScriptReplyParser.h"

#include <QStringView>
#include <cctype>
#include <limits>

namespace {
constexpr char16_t openGuillemet = u'\u00AB';
constexpr char16_t closeGuillemet = u'\u00BB';

class Parser {
public:
    Parser(QStringView text, const ScriptReplyParser::Options &options)
        : m_text(text), m_options(options)
    {
    }

    std::optional<AppleEventDescriptor> parseAll(QString *error)
    {
        skipSpace();
        if (atEnd())
            return AppleEventDescriptor::null();
        auto value = parseValue(0);
        if (value) {
            skipSpace();
            if (!atEnd())
                value = fail(QStringLiteral("unexpected text after the value"));
        }
        if (!value && error)
            *error = QStringLiteral("%1 at offset %2").arg(m_error, QString::number(m_pos));
        return value;
    }

private:
    QStringView m_text;
    const ScriptReplyParser::Options &m_options;
    qsizetype m_pos = 0;
    QString m_error;

    bool atEnd() const { return m_pos >= m_text.size(); }
    char16_t peek(qsizetype ahead = 0) const
    {
        return m_pos + ahead < m_text.size() ? m_text[m_pos + ahead].unicode() : u'\0';
    }

    std::nullopt_t fail(const QString &why)
    {
        if (m_error.isEmpty())
            m_error = why;
        return std::nullopt;
    }

    void skipSpace()
    {
        while (!atEnd() && (peek() == u' ' || peek() == u'\t' || peek() == u'\n' ||
                            peek() == u'\r' || peek() == u'\u00A0'))
            ++m_pos;
    }

    bool consume(QStringView word)
    {
        if (m_text.sliced(m_pos).startsWith(word)) {
            m_pos += word.size();
            return true;
        }
        return false;
    }

    // A keyword must not run on into further letters ("trueish" is not true).
    bool consumeWord(QStringView word)
    {
        if (!m_text.sliced(m_pos).startsWith(word))
            return false;
        const qsizetype end = m_pos + word.size();
        if (end < m_text.size() && (m_text[end].isLetterOrNumber() || m_text[end] == u'_'))
            return false;
        m_pos = end;
        return true;
    }

    std::optional<AppleEventDescriptor> parseValue(int depth)
    {
        skipSpace();
        if (atEnd())
            return fail(QStringLiteral("value expected"));
        const char16_t c = peek();
        if (c == u'{')
            return parseListOrRecord(depth + 1);
        if (c == u'"') {
            auto s = parseString();
            if (!s)
                return std::nullopt;
            return AppleEventDescriptor::text(*s);
        }
        if (c == u'-' || (c >= u'0' && c <= u'9'))
            return parseNumber();
        if (c == openGuillemet) {
            const qsizetype start = m_pos;
            auto value = parseChevron();
            // «class scut» id "X" of …: a reference that starts with a raw class.
            if (value && continuesTerm()) {
                m_pos = start;
                return parseTerm();
            }
            return value;
        }
        if (consumeWord(u"true"))
            return AppleEventDescriptor::boolean(true);
        if (consumeWord(u"false"))
            return AppleEventDescriptor::boolean(false);
        if (consumeWord(u"null"))
            return AppleEventDescriptor::null();
        if (consumeWord(u"missing")) {
            skipSpace();
            if (consumeWord(u"value"))
                return AppleEventDescriptor::missingValue();
            return fail(QStringLiteral("\"missing value\" expected"));
        }
        if (consumeWord(u"POSIX")) {
            skipSpace();
            if (!consumeWord(u"file"))
                return fail(QStringLiteral("\"POSIX file\" expected"));
            auto path = quotedOperand();
            if (!path)
                return std::nullopt;
            return AppleEventDescriptor::fileURL(QUrl::fromLocalFile(*path));
        }
        if (consumeWord(u"file") || consumeWord(u"alias")) {
            auto path = quotedOperand();
            if (!path)
                return std::nullopt;
            return AppleEventDescriptor::fileURL(QUrl::fromLocalFile(
                ScriptReplyParser::posixPathFromHfs(*path, m_options.startupVolume)));
        }
        if (consumeWord(u"date")) {
            auto text = quotedOperand();
            if (!text)
                return std::nullopt;
            return AppleEventDescriptor::date(*text);
        }
        if (QChar(c).isLetter() || c == u'_' || c == u'|')
            return parseTerm();
        return fail(QStringLiteral("unknown value"));
    }

    // More of the same value follows (not a separator, a closing brace or the end).
    bool continuesTerm()
    {
        const qsizetype mark = m_pos;
        skipSpace();
        const bool more = !atEnd() && peek() != u',' && peek() != u'}';
        m_pos = mark;
        return more;
    }

    // A name, constant or object reference, up to the next "," or "}" outside texts, |names|,
    // «…» and braces. Kept as its source text.
    std::optional<AppleEventDescriptor> parseTerm()
    {
        const qsizetype start = m_pos;
        qsizetype braces = 0;
        while (!atEnd()) {
            const char16_t c = peek();
            if (c == u',' && braces == 0)
                break;
            if (c == u'}') {
                if (braces == 0)
                    break;
                --braces;
            } else if (c == u'{') {
                ++braces;
            } else if (c == u'"') {
                if (!parseString())
                    return std::nullopt;
                continue;
            } else if (c == u'|' || c == openGuillemet) {
                const qsizetype close =
                    m_text.indexOf(c == u'|' ? u'|' : closeGuillemet, m_pos + 1);
                if (close < 0)
                    return fail(QStringLiteral("unterminated name"));
                m_pos = close + 1;
                continue;
            }
            ++m_pos;
        }
        if (braces != 0)
            return fail(QStringLiteral("unterminated list in a reference"));
        const QString text = m_text.sliced(start, m_pos - start).trimmed().toString();
        if (text.isEmpty())
            return fail(QStringLiteral("value expected"));
        return AppleEventDescriptor::term(text);
    }

    std::optional<QString> quotedOperand()
    {
        skipSpace();
        if (peek() != u'"')
            return fail(QStringLiteral("quoted text expected"));
        return parseString();
    }

    std::optional<QString> parseString()
    {
        ++m_pos; // opening quote
        QString out;
        while (!atEnd()) {
            const char16_t c = peek();
            ++m_pos;
            if (c == u'"')
                return out;
            if (c != u'\\') {
                out += QChar(c);
                continue;
            }
            if (atEnd())
                break;
            const char16_t e = peek();
            ++m_pos;
            switch (e) {
            case u'n':
                out += QLatin1Char('\n');
                break;
            case u'r':
                out += QLatin1Char('\r');
                break;
            case u't':
                out += QLatin1Char('\t');
                break;
            case u'"':
            case u'\\':
                out += QChar(e);
                break;
            default: // not an escape AppleScript writes; keep it as it stands
                out += QLatin1Char('\\');
                out += QChar(e);
            }
        }
        return fail(QStringLiteral("unterminated text"));
    }

    std::optional<AppleEventDescriptor> parseNumber()
    {
        const qsizetype start = m_pos;
        if (peek() == u'-')
            ++m_pos;
        auto digits = [&] {
            const qsizetype from = m_pos;
            while (peek() >= u'0' && peek() <= u'9')
                ++m_pos;
            return m_pos > from;
        };
        if (!digits())
            return fail(QStringLiteral("number expected"));
        bool isReal = false;
        if (peek() == u'.' && peek(1) >= u'0' && peek(1) <= u'9') {
            ++m_pos;
            digits();
            isReal = true;
        }
        if (peek() == u'E' || peek() == u'e') {
            ++m_pos;
            if (peek() == u'+' || peek() == u'-')
                ++m_pos;
            if (!digits())
                return fail(QStringLiteral("exponent expected"));
            isReal = true;
        }
        const QString number = m_text.sliced(start, m_pos - start).toString();
        bool ok = false;
        if (!isReal) {
            const qint64 v = number.toLongLong(&ok);
            if (ok && v >= std::numeric_limits<qint32>::min() &&
                v <= std::numeric_limits<qint32>::max())
                return AppleEventDescriptor::integer(qint32(v));
        }
        const double v = number.toDouble(&ok);
        if (!ok)
            return fail(QStringLiteral("number out of range"));
        return AppleEventDescriptor::real(v);
    }

    std::optional<DescType> readCode()
    {
        if (m_pos + 4 > m_text.size())
            return fail(QStringLiteral("four-character code expected"));
        DescType code = 0;
        for (int i = 0; i < 4; ++i) {
            const auto byte = macRomanByte(m_text[m_pos + i].unicode());
            if (!byte)
                return fail(QStringLiteral("four-character code expected"));
            code = (code << 8) | DescType(*byte);
        }
        m_pos += 4;
        return code;
    }

    bool closeChevron()
    {
        if (peek() != closeGuillemet)
            return false;
        ++m_pos;
        return true;
    }

    std::optional<AppleEventDescriptor> parseChevron()
    {
        ++m_pos;
        if (consume(u"data ")) {
            const auto type = readCode();
            if (!type)
                return std::nullopt;
            const qsizetype start = m_pos;
            while (!atEnd() && peek() != closeGuillemet)
                ++m_pos;
            if (atEnd())
                return fail(QStringLiteral("unterminated data"));
            const QByteArray hex = m_text.sliced(start, m_pos - start).toLatin1();
            ++m_pos;
            if (hex.size() % 2 != 0)
                return fail(QStringLiteral("odd number of hexadecimal digits"));
            for (char h : hex) {
                if (!std::isxdigit(static_cast<unsigned char>(h)))
                    return fail(QStringLiteral("hexadecimal digit expected"));
            }
            return AppleEventDescriptor::data(*type, QByteArray::fromHex(hex));
        }
        if (consume(u"class ")) {
            const auto code = readCode();
            if (!code)
                return std::nullopt;
            if (!closeChevron())
                return fail(QStringLiteral("» expected"));
            if (*code == DescriptorType::fileURL) { // «class furl» "path" is a file value
                skipSpace();
                if (peek() == u'"') {
                    auto path = parseString();
                    if (!path)
                        return std::nullopt;
                    return AppleEventDescriptor::fileURL(QUrl::fromLocalFile(*path));
                }
            }
            return AppleEventDescriptor::constant(DescriptorType::typeCode, *code);
        }
        if (consume(u"constant ****")) {
            const auto code = readCode();
            if (!code)
                return std::nullopt;
            if (!closeChevron())
                return fail(QStringLiteral("» expected"));
            return AppleEventDescriptor::constant(DescriptorType::enumerated, *code);
        }
        return fail(QStringLiteral("unknown «…» value"));
    }

    // After "{": a record when the first item starts with "key:", else a list.
    std::optional<QString> recordKey()
    {
        const qsizetype start = m_pos;
        if (peek() == u'|') {
            const qsizetype close = m_text.indexOf(u'|', m_pos + 1);
            if (close < 0)
                return fail(QStringLiteral("unterminated |key|"));
            const QString key = m_text.sliced(m_pos + 1, close - m_pos - 1).toString();
            m_pos = close + 1;
            skipSpace();
            if (peek() == u':') {
                ++m_pos;
                return key;
            }
        } else if (peek() == openGuillemet && m_text.sliced(m_pos).startsWith(u"«class ")) {
            m_pos += 7;
            const auto code = readCode();
            if (code && closeChevron() && peek() == u':') {
                ++m_pos;
                return fourCharCodeString(*code);
            }
        } else if (QChar(peek()).isLetter() || peek() == u'_') {
            while (!atEnd() && (QChar(peek()).isLetterOrNumber() || peek() == u'_' ||
                                (peek() == u' ' && QChar(peek(1)).isLetterOrNumber())))
                ++m_pos;
            if (peek() == u':') {
                const QString key = m_text.sliced(start, m_pos - start).toString();
                ++m_pos;
                return key;
            }
        }
        m_pos = start;
        m_error.clear();
        return std::nullopt;
    }

    std::optional<AppleEventDescriptor> parseListOrRecord(int depth)
    {
        if (depth > ScriptReplyParser::maximumDepth)
            return fail(QStringLiteral("nested more than %1 levels deep")
                            .arg(ScriptReplyParser::maximumDepth));
        ++m_pos; // "{"
        skipSpace();
        if (peek() == u'}') {
            ++m_pos;
            return AppleEventDescriptor::list({});
        }
        const qsizetype mark = m_pos;
        const bool isRecord = recordKey().has_value();
        m_pos = mark;
        QList<AppleEventDescriptor> items;
        QList<std::pair<QString, AppleEventDescriptor>> fields;
        for (;;) {
            skipSpace();
            std::optional<QString> key;
            if (isRecord) {
                key = recordKey();
                if (!key)
                    return fail(QStringLiteral("record key expected"));
            }
            auto value = parseValue(depth);
            if (!value)
                return std::nullopt;
            if (isRecord)
                fields.append({*key, *value});
            else
                items.append(*value);
            skipSpace();
            if (peek() == u',') {
                ++m_pos;
                continue;
            }
            if (peek() == u'}') {
                ++m_pos;
                break;
            }
            return fail(QStringLiteral(", or } expected"));
        }
        return isRecord ? AppleEventDescriptor::record(fields) : AppleEventDescriptor::list(items);
    }
};
} // namespace

std::optional<AppleEventDescriptor> ScriptReplyParser::parse(const QByteArray &utf8, QString *error,
                                                             const Options &options)
{
    if (utf8.size() > maximumBytes) {
        if (error)
            *error = QStringLiteral("reply larger than %1 bytes").arg(maximumBytes);
        return std::nullopt;
    }
    const QString text = QString::fromUtf8(utf8);
    return Parser(text, options).parseAll(error);
}

QString ScriptReplyParser::posixPathFromHfs(const QString &hfsPath, const QString &startupVolume)
{
    QStringList parts = hfsPath.split(QLatin1Char(':'));
    const QString volume = parts.takeFirst();
    // A slash inside an HFS name is a colon in the POSIX name.
    for (QString &p : parts)
        p.replace(QLatin1Char('/'), QLatin1Char(':'));
    const QString rest = parts.join(QLatin1Char('/'));
    if (volume == startupVolume)
        return QLatin1Char('/') + rest;
    return QStringLiteral("/Volumes/") + volume +
           (rest.isEmpty() ? QString() : QLatin1Char('/') + rest);
}
