#include "shortcuts/SymbolTable.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QHash>
#include <QStandardPaths>
#include <mutex>

namespace {
struct Entry {
    const char16_t *name;
    char16_t codePoint;
};

// Code points are those of Material Design Icons 1.6.50 (the version Debian ships as
// fonts-materialdesignicons-webfont); newer releases renumbered some glyphs, so check a
// code point against that version's stylesheet before adding a row.
constexpr Entry kEntries[] = {
    {u"folder", 0xF256},                        // folder-outline
    {u"folder.fill", 0xF24B},                   // folder
    {u"star", 0xF4D2},                          // star-outline
    {u"star.fill", 0xF4CE},                     // star
    {u"star.slash", 0xF4D1},                    // star-off
    {u"heart", 0xF2D5},                         // heart-outline
    {u"heart.fill", 0xF2D1},                    // heart
    {u"bolt", 0xF241},                          // flash
    {u"house", 0xF2DC},                         // home
    {u"briefcase", 0xF0D6},                     // briefcase
    {u"car", 0xF10B},                           // car
    {u"airplane", 0xF01D},                      // airplane
    {u"music.note", 0xF387},                    // music-note
    {u"camera", 0xF100},                        // camera
    {u"camera.fill", 0xF100},                   // camera
    {u"photo", 0xF2E9},                         // image
    {u"video", 0xF567},                         // video
    {u"mic", 0xF36C},                           // microphone
    {u"bell", 0xF09C},                          // bell-outline
    {u"calendar", 0xF0ED},                      // calendar
    {u"clock", 0xF150},                         // clock
    {u"list.bullet", 0xF279},                   // format-list-bulleted
    {u"checkmark.circle", 0xF5E1},              // check-circle-outline
    {u"checkmark.circle.fill", 0xF5E0},         // check-circle
    {u"doc.text", 0xF219},                      // file-document
    {u"book", 0xF0BE},                          // book-open-variant
    {u"gamecontroller", 0xF297},                // gamepad-variant
    {u"tv", 0xF502},                            // television
    {u"cart", 0xF111},                          // cart-outline
    {u"creditcard", 0xF19B},                    // credit-card
    {u"gift", 0xF2A1},                          // gift
    {u"leaf", 0xF32A},                          // leaf
    {u"flame", 0xF238},                         // fire
    {u"drop", 0xF58C},                          // water
    {u"moon", 0xF594},                          // weather-night
    {u"sun.max", 0xF5A8},                       // white-balance-sunny
    {u"cloud", 0xF163},                         // cloud-outline
    {u"globe", 0xF1E7},                         // earth
    {u"map", 0xF34D},                           // map
    {u"location", 0xF390},                      // navigation
    {u"wrench", 0xF5B7},                        // wrench
    {u"hammer", 0xF29B},                        // gavel
    {u"gearshape", 0xF493},                     // settings
    {u"terminal", 0xF18D},                      // console
    {u"network", 0xF317},                       // lan
    {u"person", 0xF004},                        // account
    {u"person.2", 0xF00E},                      // account-multiple
    {u"message", 0xF365},                       // message-outline
    {u"envelope", 0xF1F0},                      // email-outline
    {u"phone", 0xF3F2},                         // phone
    {u"phone.fill", 0xF3F2},                    // phone
    {u"tag", 0xF4FC},                           // tag-outline
    {u"tag.fill", 0xF4F9},                      // tag
    {u"tag.slash", 0xF316},                     // label-outline
    {u"sparkles", 0xF068},                      // auto-fix
    {u"wand.and.stars", 0xF4CF},                // star-circle
    {u"lightbulb", 0xF336},                     // lightbulb-outline
    {u"flag", 0xF23B},                          // flag
    {u"square.grid.2x2", 0xF570},               // view-grid
    {u"clock.arrow.circlepath", 0xF2DA},        // history
    {u"tray", 0xF2FB},                          // inbox
    {u"questionmark.folder", 0xF258},           // folder-remove
    {u"folder.badge.gearshape", 0xF255},        // folder-multiple-outline
    {u"folder.badge.plus", 0xF257},             // folder-plus
    {u"pencil", 0xF3EB},                        // pencil
    {u"arrow.right.doc.on.clipboard", 0xF252},  // folder-move
    {u"rectangle.split.3x1", 0xF56D},           // view-column
    {u"arrow.up.left", 0xF05B},                 // arrow-top-left
    {u"trash", 0xF1C0},                         // delete
    {u"plus", 0xF415},                          // plus
    {u"plus.square.on.square", 0xF191},         // content-duplicate
    {u"plus.circle.fill", 0xF417},              // plus-circle
    {u"minus.circle.fill", 0xF376},             // minus-circle
    {u"xmark", 0xF156},                         // close
    {u"checkmark", 0xF12C},                     // check
    {u"exclamationmark.triangle.fill", 0xF026}, // alert
    {u"iphone", 0xF120},                        // cellphone-iphone
    {u"play.fill", 0xF40A},                     // play
    {u"text.cursor", 0xF5E7},                   // cursor-text
    {u"arrow.up.forward.app", 0xF3CC},          // open-in-new
    {u"doc.on.doc", 0xF18F},                    // content-copy
    {u"link", 0xF337},                          // link
    {u"ellipsis.circle", 0xF1D8},               // dots-horizontal
    {u"arrow.triangle.2.circlepath", 0xF4E6},   // sync
    {u"sidebar.trailing", 0xF263},              // format-align-right
    {u"arrow.up.arrow.down", 0xF4BA},           // sort
    {u"circle.fill", 0xF12F},                   // checkbox-blank-circle
    {u"questionmark", 0xF2D6},                  // help
    {u"questionmark.circle", 0xF625},           // help-circle-outline
    {u"square.2.layers.3d.fill", 0xF328},       // layers
    {u"appletvremote.gen4.fill", 0xF454},       // remote
    {u"applewatch", 0xF589},                    // watch
    {u"character.bubble.fill", 0xF5CA},         // translate
    {u"figure.run", 0xF46E},                    // run
    {u"safari.fill", 0xF18B},                   // compass
    {u"ruler.fill", 0xF46D},                    // ruler
    {u"magnifyingglass", 0xF349},               // magnify
    {u"plus.magnifyingglass", 0xF34B},          // magnify-plus
    {u"stethoscope", 0xF4D9},                   // stethoscope
    {u"textformat", 0xF284},                    // format-text
    {u"moon.zzz", 0xF4B2},                      // sleep
};

constexpr char16_t kFallback = 0xF2D7; // help-circle

const QHash<QString, QChar> &table()
{
    static const QHash<QString, QChar> t = [] {
        QHash<QString, QChar> h;
        for (const Entry &e : kEntries)
            h.insert(QString::fromUtf16(e.name), QChar(e.codePoint));
        return h;
    }();
    return t;
}

QStringList fontCandidates()
{
    const QString file = QStringLiteral("materialdesignicons-webfont.ttf");
    QStringList paths;
    const QString overridePath = qEnvironmentVariable("THIMBLECRAFT_SYMBOL_FONT");
    if (!overridePath.isEmpty())
        paths << overridePath;
    const QString appDir = QCoreApplication::applicationDirPath();
    if (!appDir.isEmpty()) {
        paths << appDir + QStringLiteral("/") + file
              << appDir + QStringLiteral("/../Resources/") + file
              << appDir + QStringLiteral("/../share/thimblecraft/") + file;
    }
    for (const QString &sub : {QStringLiteral("fonts/truetype/materialdesignicons-webfont/"),
                               QStringLiteral("fonts-materialdesignicons-webfont/fonts/")}) {
        const QString found =
            QStandardPaths::locate(QStandardPaths::GenericDataLocation, sub + file);
        if (!found.isEmpty())
            paths << found;
    }
    paths << QStringLiteral("/usr/share/fonts/truetype/materialdesignicons-webfont/") + file;
    return paths;
}

QString loadFamily()
{
    for (const QString &path : fontCandidates()) {
        if (!QFile::exists(path))
            continue;
        const int id = QFontDatabase::addApplicationFont(path);
        if (id < 0)
            continue;
        const QStringList families = QFontDatabase::applicationFontFamilies(id);
        if (!families.isEmpty())
            return families.first();
    }
    return {};
}
} // namespace

std::optional<QString> SymbolTable::glyphIfKnown(const QString &name)
{
    const auto it = table().constFind(name);
    if (it == table().constEnd())
        return std::nullopt;
    return QString(*it);
}

QString SymbolTable::glyph(const QString &name)
{
    return glyphIfKnown(name).value_or(QString(QChar(kFallback)));
}

bool SymbolTable::contains(const QString &name)
{
    return table().contains(name);
}

QStringList SymbolTable::names()
{
    QStringList n = table().keys();
    n.sort();
    return n;
}

QString SymbolTable::fontFamily()
{
    static std::once_flag once;
    static QString family;
    std::call_once(once, [] { family = loadFamily(); });
    return family;
}

QFont SymbolTable::font(qreal pixelSize)
{
    const QString family = fontFamily();
    // Without the file, fall back to an installed copy of the same font, if any.
    QFont f(family.isEmpty() ? QStringLiteral("Material Design Icons") : family);
    f.setPixelSize(qMax(1, qRound(pixelSize)));
    f.setStyleStrategy(QFont::NoFontMerging);
    return f;
}
