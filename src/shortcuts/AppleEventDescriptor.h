#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <memory>
#include <optional>

// A four-character type code, as the Apple Event Manager spells types ("list", "utxt", "TIFF").
using DescType = quint32;

constexpr DescType fourCharCode(const char (&code)[5])
{
    return (DescType(quint8(code[0])) << 24) | (DescType(quint8(code[1])) << 16) |
           (DescType(quint8(code[2])) << 8) | DescType(quint8(code[3]));
}
// Codes read and written as AppleScript shows them: their bytes in Mac OS Roman.
QString fourCharCodeString(DescType code);
std::optional<quint8> macRomanByte(char16_t c);

namespace DescriptorType {
constexpr DescType null = fourCharCode("null");
constexpr DescType list = fourCharCode("list");
constexpr DescType record = fourCharCode("reco");
constexpr DescType text = fourCharCode("utxt");
constexpr DescType integer = fourCharCode("long");
constexpr DescType real = fourCharCode("doub");
constexpr DescType boolean = fourCharCode("bool");
constexpr DescType fileURL = fourCharCode("furl");
constexpr DescType date = fourCharCode("ldt ");
constexpr DescType typeCode = fourCharCode("type");
constexpr DescType enumerated = fourCharCode("enum");
constexpr DescType tiff = fourCharCode("TIFF");
constexpr DescType png = fourCharCode("PNGf");
constexpr DescType missingValue = fourCharCode("msng");
constexpr DescType objectSpecifier = fourCharCode("obj ");
} // namespace DescriptorType

// A reply value of a script, with the reading operations of the platform's Apple-event
// descriptor that the bridge relies on. Immutable and cheap to copy.
//
// Raw bytes follow the platform where the bridge can tell: text is UTF-16 little-endian, an
// integer 4 little-endian bytes, a real 8, a truth value 1; raw data carries its own bytes.
// Lists and records answer no bytes (the platform's flattened form is of no use to anyone).
class AppleEventDescriptor {
public:
    AppleEventDescriptor(); // null

    static AppleEventDescriptor null();
    static AppleEventDescriptor list(const QList<AppleEventDescriptor> &items);
    // Keys in order; values are the record's items.
    static AppleEventDescriptor
    record(const QList<std::pair<QString, AppleEventDescriptor>> &fields);
    static AppleEventDescriptor text(const QString &text);
    static AppleEventDescriptor integer(qint32 value);
    static AppleEventDescriptor real(double value);
    static AppleEventDescriptor boolean(bool value);
    // Raw data of any type ("TIFF", "PNGf", "rdat", …), as AppleScript's «data XXXX…» form.
    static AppleEventDescriptor data(DescType type, const QByteArray &bytes);
    static AppleEventDescriptor fileURL(const QUrl &url);
    // A date; its text is what AppleScript showed.
    static AppleEventDescriptor date(const QString &text);
    // A type or enumerated constant such as missing value ("type" / "msng").
    static AppleEventDescriptor constant(DescType type, DescType value);
    static AppleEventDescriptor missingValue();
    // A value AppleScript shows only by name or as a reference ("yes", "current application",
    // "shortcut id \"X\" of application \"Shortcuts Events\""): what it means is in the
    // application's dictionary, so it keeps its source text, which is also its text value. A
    // single name is an enumeration, anything longer an object specifier.
    static AppleEventDescriptor term(const QString &sourceText);
    bool isTerm() const;

    DescType descriptorType() const;
    // Items of a list or values of a record; 0 for anything else.
    int numberOfItems() const;
    // Counted from 1; nothing when out of range.
    std::optional<AppleEventDescriptor> descriptorAtIndex(int index) const;
    // The same item without a copy (null when out of range); valid while this descriptor lives.
    // For walking large replies.
    const AppleEventDescriptor *itemAt(int index) const;
    // Record key of item index (from 1), empty for lists.
    QString keyAtIndex(int index) const;
    // Text, or a number as text; nothing for values that have no text form.
    std::optional<QString> stringValue() const;
    // Coerced like the platform; 0 when there is no such coercion.
    qint32 int32Value() const;
    // Coerced like the platform; false when there is no such coercion.
    bool booleanValue() const;
    QByteArray data() const;
    // Converts to another type; nothing when there is no coercion. Image data converts to "TIFF".
    std::optional<AppleEventDescriptor> coerceToDescriptorType(DescType type) const;
    std::optional<QUrl> fileURLValue() const;

    bool operator==(const AppleEventDescriptor &other) const;
    // AppleScript's source form, for tests and diagnostics.
    QString toSourceForm() const;

private:
    // Scalars and text live in the descriptor itself, so a list of 10,000 names is one array;
    // only lists, records, raw data and files have a shared node.
    struct Node;
    static const Node emptyNode;
    const Node &node() const;

    DescType m_type = DescriptorType::null;
    qint32 m_integer = 0;
    DescType m_code = 0; // constants
    bool m_flag = false;
    double m_real = 0;
    QString m_text; // text, date
    std::shared_ptr<const Node> m_node;
};
