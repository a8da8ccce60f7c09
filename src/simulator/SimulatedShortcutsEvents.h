#pragma once

#include "shortcuts/ScriptHost.h"
#include "simulator/SimulatedLibrary.h"

#include <QString>
#include <optional>

// A stand-in for "Shortcuts Events": answers exactly the scripts the bridge sends (list, icon,
// run by id or by name, with or without input) from a library file that it reads afresh for
// every script, and errs like the real one on anything else.
class SimulatedShortcutsEvents final : public ScriptHost {
public:
    explicit SimulatedShortcutsEvents(QString libraryPath);
    ScriptHostReply execute(const QString &script) override;

    const QString &libraryPath() const { return m_libraryPath; }

    // The reply to the list script for a library (also used by tests and tools).
    static AppleEventDescriptor listReply(const SimulatedLibrary &library);
    static AppleEventDescriptor iconReply(const SimulatedShortcut &shortcut);

private:
    ScriptHostReply answer(const SimulatedLibrary &library, const QString &script) const;
    ScriptHostReply run(const SimulatedShortcut &shortcut,
                        const std::optional<QString> &input) const;

    QString m_libraryPath;
};
