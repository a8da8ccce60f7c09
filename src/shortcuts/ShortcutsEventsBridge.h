#pragma once

#include "shortcuts/AppleEventDescriptor.h"
#include "shortcuts/BridgeError.h"
#include "shortcuts/ScriptHost.h"
#include "shortcuts/ShortcutSnapshot.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QList>
#include <QString>
#include <QThreadPool>
#include <memory>
#include <optional>

// The one place that talks to the Shortcuts app by script ("Shortcuts Events"). Every script of
// the process runs on one serial queue; callers co_await the operations and resume on their
// own thread (the main thread everywhere in the program).
class ShortcutsEventsBridge {
public:
    // Without a host the bridge uses ScriptHost::shared() as it is when each script is sent.
    explicit ShortcutsEventsBridge(std::shared_ptr<ScriptHost> host = nullptr);

    static ShortcutsEventsBridge &shared();
    // The process-wide serial queue: a pool of one thread.
    static QThreadPool &queue();

    QCoro::Task<BridgeResult<QList<ShortcutSnapshot>>> listShortcuts();
    QCoro::Task<BridgeResult<std::optional<QByteArray>>> iconData(QString identifier);
    QCoro::Task<BridgeResult<std::optional<QString>>> run(QString identifier, QString name,
                                                          std::optional<QString> input);
    QCoro::Task<BridgeResult<std::optional<QString>>> runShortcut(QString named);
    QCoro::Task<BridgeResult<AppleEventDescriptor>> execute(QString script);

    // Script texts and reply decoding, usable without running anything.
    static QString quotedScriptString(const QString &text);
    static QString listScript();
    static QString iconScript(const QString &identifier);
    static QString runByIdentifierScript(const QString &identifier,
                                         const std::optional<QString> &input);
    static QString runByNameScript(const QString &name, const std::optional<QString> &input);
    static BridgeResult<QList<ShortcutSnapshot>>
    decodeShortcutList(const AppleEventDescriptor &reply);
    static QString decodeColor(const std::optional<AppleEventDescriptor> &element);
    // decodeColor on an element read in place.
    static QString colorText(const AppleEventDescriptor *element);
    static std::optional<QByteArray> decodeIcon(const AppleEventDescriptor &reply);
    static std::optional<QString> decodeOutput(const AppleEventDescriptor &reply);
    // The host's answer as the bridge reports it.
    static BridgeResult<AppleEventDescriptor> interpret(const ScriptHostReply &reply);

private:
    std::shared_ptr<ScriptHost> m_host;
};
