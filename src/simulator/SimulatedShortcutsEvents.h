#pragma once

#include "shortcuts/ScriptHost.h"
#include "simulator/SimulatedLibrary.h"

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <memory>
#include <optional>

// A stand-in for "Shortcuts Events": answers exactly the scripts the bridge sends (list, icon,
// run by id or by name, with or without input) from a library file that it reads afresh for
// every script, and errs like the real one on anything else. The file is parsed again only when
// its bytes differ from the last ones read.
class SimulatedShortcutsEvents final : public ScriptHost {
public:
    explicit SimulatedShortcutsEvents(QString libraryPath);
    ScriptHostReply execute(const QString &script) override;

    const QString &libraryPath() const { return m_libraryPath; }

    // The reply to the list script for a library (also used by tests and tools).
    static AppleEventDescriptor listReply(const SimulatedLibrary &library);
    static AppleEventDescriptor iconReply(const SimulatedShortcut &shortcut);

private:
    // One parse of the library file, and its list reply once something asked for it.
    struct Parsed {
        QByteArray json;
        SimulatedLibrary library;
        std::optional<AppleEventDescriptor> listReply;
    };

    std::shared_ptr<Parsed> current(QString *error);
    AppleEventDescriptor cachedListReply(const std::shared_ptr<Parsed> &parsed);
    ScriptHostReply answer(const std::shared_ptr<Parsed> &parsed, const QString &script);
    ScriptHostReply run(const SimulatedShortcut &shortcut,
                        const std::optional<QString> &input) const;

    QString m_libraryPath;
    QMutex m_mutex; // guards m_parsed and the list reply inside it
    std::shared_ptr<Parsed> m_parsed;
};
