#pragma once

#include "model/LibrarySection.h"

#include <QList>
#include <QString>
#include <optional>

class LibraryFolder;
class ModelContext;
class ShortcutItem;
class SmartList;
class Tag;
struct SmartRule;

// Finding records by what a person types on a command line or puts in a link: identifiers,
// names, folder and tag paths, smart list names.
namespace LibraryLookup {

// The shortcuts a reference names: an identifier, "name:" and a name, or a name. One item is an
// answer; several are the candidates of an ambiguous name.
QList<ShortcutItem *> shortcutsFor(const ModelContext &context, const QString &reference);
// The shortcuts with exactly this name.
QList<ShortcutItem *> shortcutsNamed(const ModelContext &context, const QString &name);

// A folder or tag by uuid or by its path of names from the top ("Work/Clients"; " › " also
// separates); names compare exactly first, then ignoring case.
LibraryFolder *folderFor(const ModelContext &context, const QString &reference);
Tag *tagFor(const ModelContext &context, const QString &reference);
SmartList *smartListFor(const ModelContext &context, const QString &reference);

// A section in the command line's form, where folder:, tag: and smart: also take a path or name.
// No value when the text is not a section at all; a record that does not exist gives its
// section all the same (it shows nothing).
std::optional<LibrarySection> sectionFor(const ModelContext &context, const QString &text);

// "Work › Clients".
QString pathText(const LibraryFolder *folder);
QString pathText(const Tag *tag);
// A rule as its row reads in the smart list editor: "Name contains “lights”".
QString ruleText(const SmartRule &rule, const ModelContext &context);

} // namespace LibraryLookup
