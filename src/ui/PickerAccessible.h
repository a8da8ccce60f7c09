#pragma once

class QAccessibleInterface;
class QObject;
class QString;

// The colour and symbol pickers paint their cells; screen readers see each cell as a radio
// button named after its colour ("Blue", "Default") or symbol ("folder fill").
namespace PickerAccessible {
QAccessibleInterface *factory(const QString &className, QObject *object);
// Installs the factory once.
void install();
} // namespace PickerAccessible
