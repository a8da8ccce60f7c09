#include "shortcuts/AppleEventDescriptor.h"

#include <QBuffer>
#include <QImage>
#include <QLocale>
#include <QtEndian>
#include <cmath>
#include <limits>

// What only lists, records, raw data and files carry; shared between copies.
struct AppleEventDescriptor::Node {
    QByteArray bytes; // raw data
    QUrl url;
    QList<AppleEventDescriptor> items;
    QStringList keys; // records
};

const AppleEventDescriptor::Node AppleEventDescriptor::emptyNode{};

const AppleEventDescriptor::Node &AppleEventDescriptor::node() const
{
    return m_node ? *m_node : emptyNode;
}

namespace {
// Bytes 0x80 to 0xFF in Mac OS Roman, the encoding AppleScript shows four-character codes in.
constexpr char16_t macRomanHigh[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3,
    0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3,
    0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3,
    0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8,
    0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA,
    0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB,
    0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D,
    0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE,
    0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC,
    0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};
} // namespace

QString fourCharCodeString(DescType code)
{
    QString s;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const quint8 byte = (code >> shift) & 0xFF;
        s += QChar(byte < 0x80 ? char16_t(byte) : macRomanHigh[byte - 0x80]);
    }
    return s;
}

std::optional<quint8> macRomanByte(char16_t c)
{
    if (c < 0x80)
        return quint8(c);
    for (int i = 0; i < 128; ++i) {
        if (macRomanHigh[i] == c)
            return quint8(0x80 + i);
    }
    return std::nullopt;
}

namespace {
QByteArray littleEndian32(quint32 v)
{
    QByteArray b(4, Qt::Uninitialized);
    qToLittleEndian(v, b.data());
    return b;
}

// The platform rounds to the nearest integer, halves to even, and refuses what does not fit.
std::optional<qint32> int32FromReal(double v)
{
    if (!std::isfinite(v))
        return std::nullopt;
    const double r = std::nearbyint(v);
    if (r < double(std::numeric_limits<qint32>::min()) ||
        r > double(std::numeric_limits<qint32>::max()))
        return std::nullopt;
    return qint32(r);
}

std::optional<double> realFromText(const QString &text)
{
    bool ok = false;
    const double v = text.trimmed().toDouble(&ok);
    if (!ok)
        return std::nullopt;
    return v;
}

std::optional<qint32> int32FromText(const QString &text)
{
    const auto r = realFromText(text);
    return r ? int32FromReal(*r) : std::nullopt;
}

std::optional<bool> boolFromText(const QString &text)
{
    const QString t = text.trimmed();
    if (t.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0)
        return true;
    if (t.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0)
        return false;
    return std::nullopt;
}

QString quotedSource(const QString &text)
{
    QString out = QStringLiteral("\"");
    for (QChar c : text) {
        switch (c.unicode()) {
        case '"':
            out += QLatin1String("\\\"");
            break;
        case '\\':
            out += QLatin1String("\\\\");
            break;
        case '\n':
            out += QLatin1String("\\n");
            break;
        case '\r':
            out += QLatin1String("\\r");
            break;
        case '\t':
            out += QLatin1String("\\t");
            break;
        default:
            out += c;
        }
    }
    return out + QLatin1Char('"');
}

QString realSource(double v)
{
    QString s = QString::number(v, 'g', QLocale::FloatingPointShortest);
    s.replace(QLatin1Char('e'), QLatin1Char('E'));
    if (!s.contains(QLatin1Char('.')) && !s.contains(QLatin1Char('E')) &&
        !s.contains(QLatin1Char('n')))
        s += QLatin1String(".0");
    return s;
}

bool isDataType(DescType t)
{
    using namespace DescriptorType;
    return t != null && t != list && t != record && t != text && t != integer && t != real &&
           t != boolean && t != fileURL && t != date && t != typeCode && t != enumerated &&
           t != objectSpecifier;
}
} // namespace

AppleEventDescriptor::AppleEventDescriptor() = default;

AppleEventDescriptor AppleEventDescriptor::null()
{
    return AppleEventDescriptor();
}

AppleEventDescriptor AppleEventDescriptor::list(const QList<AppleEventDescriptor> &items)
{
    AppleEventDescriptor a;
    a.m_type = DescriptorType::list;
    auto n = std::make_shared<Node>();
    n->items = items;
    a.m_node = std::move(n);
    return a;
}

AppleEventDescriptor
AppleEventDescriptor::record(const QList<std::pair<QString, AppleEventDescriptor>> &fields)
{
    AppleEventDescriptor a;
    a.m_type = DescriptorType::record;
    auto n = std::make_shared<Node>();
    for (const auto &[key, value] : fields) {
        n->keys.append(key);
        n->items.append(value);
    }
    a.m_node = std::move(n);
    return a;
}

AppleEventDescriptor AppleEventDescriptor::text(const QString &text)
{
    AppleEventDescriptor a;
    a.m_type = DescriptorType::text;
    a.m_text = text;
    return a;
}

AppleEventDescriptor AppleEventDescriptor::integer(qint32 value)
{
    AppleEventDescriptor a;
    a.m_type = DescriptorType::integer;
    a.m_integer = value;
    return a;
}

AppleEventDescriptor AppleEventDescriptor::real(double value)
{
    AppleEventDescriptor a;
    a.m_type = DescriptorType::real;
    a.m_real = value;
    return a;
}

AppleEventDescriptor AppleEventDescriptor::boolean(bool value)
{
    AppleEventDescriptor a;
    a.m_type = DescriptorType::boolean;
    a.m_flag = value;
    return a;
}

AppleEventDescriptor AppleEventDescriptor::data(DescType type, const QByteArray &bytes)
{
    if (type == DescriptorType::text)
        return text(QString::fromUtf16(reinterpret_cast<const char16_t *>(bytes.constData()),
                                       bytes.size() / 2));
    AppleEventDescriptor a;
    a.m_type = isDataType(type) ? type : fourCharCode("rdat");
    auto n = std::make_shared<Node>();
    n->bytes = bytes;
    a.m_node = std::move(n);
    return a;
}

AppleEventDescriptor AppleEventDescriptor::fileURL(const QUrl &url)
{
    AppleEventDescriptor a;
    a.m_type = DescriptorType::fileURL;
    auto n = std::make_shared<Node>();
    n->url = url;
    a.m_node = std::move(n);
    return a;
}

AppleEventDescriptor AppleEventDescriptor::date(const QString &text)
{
    AppleEventDescriptor a;
    a.m_type = DescriptorType::date;
    a.m_text = text;
    return a;
}

AppleEventDescriptor AppleEventDescriptor::constant(DescType type, DescType value)
{
    AppleEventDescriptor a;
    a.m_type = type;
    a.m_code = value;
    return a;
}

AppleEventDescriptor AppleEventDescriptor::term(const QString &sourceText)
{
    bool oneName = !sourceText.isEmpty();
    for (QChar c : sourceText)
        oneName = oneName && (c.isLetterOrNumber() || c == u'_' || c == u' ');
    AppleEventDescriptor a;
    a.m_type = oneName ? DescriptorType::enumerated : DescriptorType::objectSpecifier;
    a.m_text = sourceText;
    return a;
}

bool AppleEventDescriptor::isTerm() const
{
    return (m_type == DescriptorType::enumerated || m_type == DescriptorType::typeCode ||
            m_type == DescriptorType::objectSpecifier) &&
           !m_text.isEmpty();
}

AppleEventDescriptor AppleEventDescriptor::missingValue()
{
    return constant(DescriptorType::typeCode, DescriptorType::missingValue);
}

DescType AppleEventDescriptor::descriptorType() const
{
    return m_type;
}

int AppleEventDescriptor::numberOfItems() const
{
    return m_type == DescriptorType::list || m_type == DescriptorType::record
               ? int(node().items.size())
               : 0;
}

std::optional<AppleEventDescriptor> AppleEventDescriptor::descriptorAtIndex(int index) const
{
    if (index < 1 || index > numberOfItems())
        return std::nullopt;
    return node().items.at(index - 1);
}

const AppleEventDescriptor *AppleEventDescriptor::itemAt(int index) const
{
    if (index < 1 || index > numberOfItems())
        return nullptr;
    return &node().items.at(index - 1);
}

QString AppleEventDescriptor::keyAtIndex(int index) const
{
    if (m_type != DescriptorType::record || index < 1 || index > node().keys.size())
        return {};
    return node().keys.at(index - 1);
}

std::optional<QString> AppleEventDescriptor::stringValue() const
{
    switch (m_type) {
    case DescriptorType::text:
    case DescriptorType::date:
        return m_text;
    case DescriptorType::integer:
        return QString::number(m_integer);
    case DescriptorType::real:
        return realSource(m_real);
    case DescriptorType::boolean:
        return m_flag ? QStringLiteral("true") : QStringLiteral("false");
    default:
        if (m_type == fourCharCode("utf8"))
            return QString::fromUtf8(node().bytes);
        if (isTerm())
            return m_text;
        return std::nullopt;
    }
}

qint32 AppleEventDescriptor::int32Value() const
{
    switch (m_type) {
    case DescriptorType::integer:
        return m_integer;
    case DescriptorType::boolean:
        return m_flag ? 1 : 0;
    case DescriptorType::real:
        return int32FromReal(m_real).value_or(0);
    case DescriptorType::text:
        return int32FromText(m_text).value_or(0);
    default:
        return 0;
    }
}

bool AppleEventDescriptor::booleanValue() const
{
    switch (m_type) {
    case DescriptorType::boolean:
        return m_flag;
    case DescriptorType::integer:
        return m_integer == 1;
    case DescriptorType::text:
        return boolFromText(m_text).value_or(false);
    default:
        return false;
    }
}

QByteArray AppleEventDescriptor::data() const
{
    switch (m_type) {
    case DescriptorType::null:
    case DescriptorType::list:
    case DescriptorType::record:
    case DescriptorType::date:
        return {};
    case DescriptorType::text: {
        QByteArray b;
        b.reserve(m_text.size() * 2);
        for (QChar c : m_text) {
            b.append(char(c.unicode() & 0xFF));
            b.append(char(c.unicode() >> 8));
        }
        return b;
    }
    case DescriptorType::integer:
        return littleEndian32(quint32(m_integer));
    case DescriptorType::real: {
        QByteArray b(8, Qt::Uninitialized);
        qToLittleEndian(m_real, b.data());
        return b;
    }
    case DescriptorType::boolean:
        return QByteArray(1, m_flag ? '\1' : '\0');
    case DescriptorType::fileURL:
        return node().url.toEncoded();
    case DescriptorType::typeCode:
    case DescriptorType::enumerated:
        if (isTerm())
            return {};
        return littleEndian32(m_code);
    case DescriptorType::objectSpecifier:
        return {};
    default:
        return node().bytes;
    }
}

std::optional<AppleEventDescriptor>
AppleEventDescriptor::coerceToDescriptorType(DescType type) const
{
    if (type == m_type)
        return *this;
    switch (type) {
    case DescriptorType::text:
        if (const auto s = stringValue())
            return text(*s);
        return std::nullopt;
    case DescriptorType::integer: {
        std::optional<qint32> v;
        if (m_type == DescriptorType::boolean)
            v = m_flag ? 1 : 0;
        else if (m_type == DescriptorType::real)
            v = int32FromReal(m_real);
        else if (m_type == DescriptorType::text)
            v = int32FromText(m_text);
        return v ? std::optional(integer(*v)) : std::nullopt;
    }
    case DescriptorType::real:
        if (m_type == DescriptorType::integer)
            return real(m_integer);
        if (m_type == DescriptorType::text) {
            if (const auto r = realFromText(m_text))
                return real(*r);
        }
        return std::nullopt;
    case DescriptorType::boolean:
        if (m_type == DescriptorType::integer && (m_integer == 0 || m_integer == 1))
            return boolean(m_integer == 1);
        if (m_type == DescriptorType::text) {
            if (const auto b = boolFromText(m_text))
                return boolean(*b);
        }
        return std::nullopt;
    case DescriptorType::list:
        if (m_type == DescriptorType::null)
            return std::nullopt;
        return list({*this});
    case DescriptorType::tiff: {
        if (!isDataType(m_type) || node().bytes.isEmpty())
            return std::nullopt;
        QImage image;
        if (!image.loadFromData(node().bytes))
            return std::nullopt;
        QByteArray out;
        QBuffer buffer(&out);
        buffer.open(QIODevice::WriteOnly);
        if (!image.save(&buffer, "TIFF") || out.isEmpty())
            return std::nullopt;
        return data(DescriptorType::tiff, out);
    }
    default:
        return std::nullopt;
    }
}

std::optional<QUrl> AppleEventDescriptor::fileURLValue() const
{
    if (m_type != DescriptorType::fileURL || !node().url.isValid())
        return std::nullopt;
    return node().url;
}

bool AppleEventDescriptor::operator==(const AppleEventDescriptor &o) const
{
    if (m_type != o.m_type || m_text != o.m_text || m_integer != o.m_integer ||
        !(m_real == o.m_real || (std::isnan(m_real) && std::isnan(o.m_real))) ||
        m_flag != o.m_flag || m_code != o.m_code)
        return false;
    if (m_node == o.m_node)
        return true;
    const Node &a = node();
    const Node &b = o.node();
    return a.bytes == b.bytes && a.url == b.url && a.keys == b.keys && a.items == b.items;
}

QString AppleEventDescriptor::toSourceForm() const
{
    if (isTerm())
        return m_text;
    switch (m_type) {
    case DescriptorType::null:
        return QStringLiteral("null");
    case DescriptorType::list:
    case DescriptorType::record: {
        QStringList parts;
        for (qsizetype i = 0; i < node().items.size(); ++i) {
            const QString value = node().items.at(i).toSourceForm();
            if (m_type == DescriptorType::record) {
                const QString &key = node().keys.at(i);
                bool plain = !key.isEmpty() && !key.at(0).isDigit();
                for (QChar c : key)
                    plain = plain && (c.isLetterOrNumber() || c == QLatin1Char('_'));
                parts.append((plain ? key : QLatin1Char('|') + key + QLatin1Char('|')) +
                             QLatin1Char(':') + value);
            } else {
                parts.append(value);
            }
        }
        return QLatin1Char('{') + parts.join(QLatin1String(", ")) + QLatin1Char('}');
    }
    case DescriptorType::text:
        return quotedSource(m_text);
    case DescriptorType::integer:
        return QString::number(m_integer);
    case DescriptorType::real:
        return realSource(m_real);
    case DescriptorType::boolean:
        return m_flag ? QStringLiteral("true") : QStringLiteral("false");
    case DescriptorType::fileURL:
        return QStringLiteral("POSIX file ") + quotedSource(node().url.toLocalFile());
    case DescriptorType::date:
        return QStringLiteral("date ") + quotedSource(m_text);
    case DescriptorType::typeCode:
        if (m_code == DescriptorType::missingValue)
            return QStringLiteral("missing value");
        return QStringLiteral("«class %1»").arg(fourCharCodeString(m_code));
    case DescriptorType::enumerated:
        return QStringLiteral("«constant ****%1»").arg(fourCharCodeString(m_code));
    default:
        return QStringLiteral("«data %1%2»")
            .arg(fourCharCodeString(m_type), QString::fromLatin1(node().bytes.toHex().toUpper()));
    }
}
