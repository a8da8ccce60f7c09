#pragma once

class QAccessibleInterface;
class QObject;
class QString;

// Screen readers see each tile or row of the collection as one button named after its
// shortcut, instead of the grid as one nameless area.
namespace ShortcutGridAccessible {
// The factory installed for ShortcutGridView (installed once, by the view).
QAccessibleInterface *factory(const QString &className, QObject *object);
} // namespace ShortcutGridAccessible
