#include "shortcuts/AppleEventDescriptor.h"

#include <QBuffer>
#include <QImage>
#include <QLocale>
#include <QtEndian>
#include <cmath>
#include <limits>

struct AppleEventDescriptor::Node {
    DescType type = DescriptorType::null;
    QString text; // text, date
    qint32 integer = 0;
    double real = 0;
    bool flag = false;
    DescType code = 0; // constants
    QByteArray bytes;  // raw data
    QUrl url;
    QList<AppleEventDescriptor> items;
    QStringList keys; // records
};

QString fourCharCodeString(DescType code)
{
    QString s;
    for (int shift = 24; shift >= 0; shift -= 8)
        s += QChar(char16_t((code >> shift) & 0xFF));
    return s;
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
           t != boolean && t != fileURL && t != date && t != typeCode && t != enumerated;
}
} // namespace

AppleEventDescriptor::AppleEventDescriptor() : d(std::make_shared<Node>()) {}

AppleEventDescriptor::AppleEventDescriptor(std::shared_ptr<const Node> node) : d(std::move(node)) {}

AppleEventDescriptor AppleEventDescriptor::null()
{
    return AppleEventDescriptor();
}

AppleEventDescriptor AppleEventDescriptor::list(const QList<AppleEventDescriptor> &items)
{
    auto n = std::make_shared<Node>();
    n->type = DescriptorType::list;
    n->items = items;
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor
AppleEventDescriptor::record(const QList<std::pair<QString, AppleEventDescriptor>> &fields)
{
    auto n = std::make_shared<Node>();
    n->type = DescriptorType::record;
    for (const auto &[key, value] : fields) {
        n->keys.append(key);
        n->items.append(value);
    }
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor AppleEventDescriptor::text(const QString &text)
{
    auto n = std::make_shared<Node>();
    n->type = DescriptorType::text;
    n->text = text;
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor AppleEventDescriptor::integer(qint32 value)
{
    auto n = std::make_shared<Node>();
    n->type = DescriptorType::integer;
    n->integer = value;
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor AppleEventDescriptor::real(double value)
{
    auto n = std::make_shared<Node>();
    n->type = DescriptorType::real;
    n->real = value;
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor AppleEventDescriptor::boolean(bool value)
{
    auto n = std::make_shared<Node>();
    n->type = DescriptorType::boolean;
    n->flag = value;
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor AppleEventDescriptor::data(DescType type, const QByteArray &bytes)
{
    if (type == DescriptorType::text)
        return text(QString::fromUtf16(reinterpret_cast<const char16_t *>(bytes.constData()),
                                       bytes.size() / 2));
    auto n = std::make_shared<Node>();
    n->type = isDataType(type) ? type : fourCharCode("rdat");
    n->bytes = bytes;
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor AppleEventDescriptor::fileURL(const QUrl &url)
{
    auto n = std::make_shared<Node>();
    n->type = DescriptorType::fileURL;
    n->url = url;
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor AppleEventDescriptor::date(const QString &text)
{
    auto n = std::make_shared<Node>();
    n->type = DescriptorType::date;
    n->text = text;
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor AppleEventDescriptor::constant(DescType type, DescType value)
{
    auto n = std::make_shared<Node>();
    n->type = type;
    n->code = value;
    return AppleEventDescriptor(std::move(n));
}

AppleEventDescriptor AppleEventDescriptor::missingValue()
{
    return constant(DescriptorType::typeCode, DescriptorType::missingValue);
}

DescType AppleEventDescriptor::descriptorType() const
{
    return d->type;
}

int AppleEventDescriptor::numberOfItems() const
{
    return d->type == DescriptorType::list || d->type == DescriptorType::record
               ? int(d->items.size())
               : 0;
}

std::optional<AppleEventDescriptor> AppleEventDescriptor::descriptorAtIndex(int index) const
{
    if (index < 1 || index > numberOfItems())
        return std::nullopt;
    return d->items.at(index - 1);
}

const AppleEventDescriptor *AppleEventDescriptor::itemAt(int index) const
{
    if (index < 1 || index > numberOfItems())
        return nullptr;
    return &d->items.at(index - 1);
}

QString AppleEventDescriptor::keyAtIndex(int index) const
{
    if (d->type != DescriptorType::record || index < 1 || index > d->keys.size())
        return {};
    return d->keys.at(index - 1);
}

std::optional<QString> AppleEventDescriptor::stringValue() const
{
    switch (d->type) {
    case DescriptorType::text:
    case DescriptorType::date:
        return d->text;
    case DescriptorType::integer:
        return QString::number(d->integer);
    case DescriptorType::real:
        return realSource(d->real);
    case DescriptorType::boolean:
        return d->flag ? QStringLiteral("true") : QStringLiteral("false");
    default:
        if (d->type == fourCharCode("utf8"))
            return QString::fromUtf8(d->bytes);
        return std::nullopt;
    }
}

qint32 AppleEventDescriptor::int32Value() const
{
    switch (d->type) {
    case DescriptorType::integer:
        return d->integer;
    case DescriptorType::boolean:
        return d->flag ? 1 : 0;
    case DescriptorType::real:
        return int32FromReal(d->real).value_or(0);
    case DescriptorType::text:
        return int32FromText(d->text).value_or(0);
    default:
        return 0;
    }
}

bool AppleEventDescriptor::booleanValue() const
{
    switch (d->type) {
    case DescriptorType::boolean:
        return d->flag;
    case DescriptorType::integer:
        return d->integer == 1;
    case DescriptorType::text:
        return boolFromText(d->text).value_or(false);
    default:
        return false;
    }
}

QByteArray AppleEventDescriptor::data() const
{
    switch (d->type) {
    case DescriptorType::null:
    case DescriptorType::list:
    case DescriptorType::record:
    case DescriptorType::date:
        return {};
    case DescriptorType::text: {
        QByteArray b;
        b.reserve(d->text.size() * 2);
        for (QChar c : d->text) {
            b.append(char(c.unicode() & 0xFF));
            b.append(char(c.unicode() >> 8));
        }
        return b;
    }
    case DescriptorType::integer:
        return littleEndian32(quint32(d->integer));
    case DescriptorType::real: {
        QByteArray b(8, Qt::Uninitialized);
        qToLittleEndian(d->real, b.data());
        return b;
    }
    case DescriptorType::boolean:
        return QByteArray(1, d->flag ? '\1' : '\0');
    case DescriptorType::fileURL:
        return d->url.toEncoded();
    case DescriptorType::typeCode:
    case DescriptorType::enumerated:
        return littleEndian32(d->code);
    default:
        return d->bytes;
    }
}

std::optional<AppleEventDescriptor>
AppleEventDescriptor::coerceToDescriptorType(DescType type) const
{
    if (type == d->type)
        return *this;
    switch (type) {
    case DescriptorType::text:
        if (const auto s = stringValue())
            return text(*s);
        return std::nullopt;
    case DescriptorType::integer: {
        std::optional<qint32> v;
        if (d->type == DescriptorType::boolean)
            v = d->flag ? 1 : 0;
        else if (d->type == DescriptorType::real)
            v = int32FromReal(d->real);
        else if (d->type == DescriptorType::text)
            v = int32FromText(d->text);
        return v ? std::optional(integer(*v)) : std::nullopt;
    }
    case DescriptorType::real:
        if (d->type == DescriptorType::integer)
            return real(d->integer);
        if (d->type == DescriptorType::text) {
            if (const auto r = realFromText(d->text))
                return real(*r);
        }
        return std::nullopt;
    case DescriptorType::boolean:
        if (d->type == DescriptorType::integer && (d->integer == 0 || d->integer == 1))
            return boolean(d->integer == 1);
        if (d->type == DescriptorType::text) {
            if (const auto b = boolFromText(d->text))
                return boolean(*b);
        }
        return std::nullopt;
    case DescriptorType::list:
        if (d->type == DescriptorType::null)
            return std::nullopt;
        return list({*this});
    case DescriptorType::tiff: {
        if (!isDataType(d->type) || d->bytes.isEmpty())
            return std::nullopt;
        QImage image;
        if (!image.loadFromData(d->bytes))
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
    if (d->type != DescriptorType::fileURL || !d->url.isValid())
        return std::nullopt;
    return d->url;
}

bool AppleEventDescriptor::operator==(const AppleEventDescriptor &o) const
{
    if (d == o.d)
        return true;
    return d->type == o.d->type && d->text == o.d->text && d->integer == o.d->integer &&
           (d->real == o.d->real || (std::isnan(d->real) && std::isnan(o.d->real))) &&
           d->flag == o.d->flag && d->code == o.d->code && d->bytes == o.d->bytes &&
           d->url == o.d->url && d->keys == o.d->keys && d->items == o.d->items;
}

QString AppleEventDescriptor::toSourceForm() const
{
    switch (d->type) {
    case DescriptorType::null:
        return QStringLiteral("null");
    case DescriptorType::list:
    case DescriptorType::record: {
        QStringList parts;
        for (qsizetype i = 0; i < d->items.size(); ++i) {
            const QString value = d->items.at(i).toSourceForm();
            if (d->type == DescriptorType::record) {
                const QString &key = d->keys.at(i);
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
        return quotedSource(d->text);
    case DescriptorType::integer:
        return QString::number(d->integer);
    case DescriptorType::real:
        return realSource(d->real);
    case DescriptorType::boolean:
        return d->flag ? QStringLiteral("true") : QStringLiteral("false");
    case DescriptorType::fileURL:
        return QStringLiteral("POSIX file ") + quotedSource(d->url.toLocalFile());
    case DescriptorType::date:
        return QStringLiteral("date ") + quotedSource(d->text);
    case DescriptorType::typeCode:
        if (d->code == DescriptorType::missingValue)
            return QStringLiteral("missing value");
        return QStringLiteral("«class %1»").arg(fourCharCodeString(d->code));
    case DescriptorType::enumerated:
        return QStringLiteral("«constant ****%1»").arg(fourCharCodeString(d->code));
    default:
        return QStringLiteral("«data %1%2»")
            .arg(fourCharCodeString(d->type), QString::fromLatin1(d->bytes.toHex().toUpper()));
    }
}
