#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

class ShortcutItem;

// An organisation document read and checked, before it is matched against any library.
namespace Organisation {

// A folder or a tag. Absent optional values take the record's defaults.
struct TreeEntry {
    QString uuid;
    QString name;
    std::optional<QString> symbolName; // folders only
    std::optional<QString> colorHex;
    qint64 sortOrder = 0;
    int parent = -1; // index in the same list; -1 at the top level
};

struct SmartListEntry {
    QString uuid;
    QString name;
    std::optional<QString> symbolName;
    std::optional<QString> colorHex;
    qint64 sortOrder = 0;
    QByteArray rulesData; // compact JSON of the stored rule set; empty for null
};

struct ShortcutEntry {
    QString identifier; // may be empty: then the name is the only key
    QString name;
    bool isFavorite = false;
    QString notes;
    std::optional<QString> folder; // a folder uuid, in the document or in the library
    QStringList tags;              // tag uuids, each once
    qint64 runCount = 0;

    bool carriesOrganisation() const
    {
        return isFavorite || !notes.isEmpty() || folder || !tags.isEmpty() || runCount != 0;
    }
};

// Whether the shortcut carries anything an export keeps: only those are written.
bool carriesOrganisation(const ShortcutItem &item);

struct Data {
    // Parents always come before their children in these two lists.
    QList<TreeEntry> folders;
    QList<TreeEntry> tags;
    QList<SmartListEntry> smartLists;
    QList<ShortcutEntry> shortcuts;
};

// Parses and checks everything the document alone can tell: form, version, types, sizes,
// duplicate uuids, parents that exist, no cycles, depth. Nothing on failure, with error set to
// a sentence naming the problem and where it is ("folders[3].parent: …").
std::optional<Data> decode(const QByteArray &document, QString *error);

} // namespace Organisation
