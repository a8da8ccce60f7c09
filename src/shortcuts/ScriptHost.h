#pragma once

#include "shortcuts/AppleEventDescriptor.h"

#include <QString>
#include <memory>
#include <optional>

// What running one script gave: a reply, the scripting system's error information, or nothing
// usable at all (no script object could be made, or the reply could not be read).
struct ScriptHostReply {
    enum class Kind { reply, error, notUnderstood };
    Kind kind = Kind::notUnderstood;
    AppleEventDescriptor descriptor;
    // Either may be missing from the error information.
    std::optional<qint64> errorNumber;
    std::optional<QString> errorMessage;

    static ScriptHostReply success(const AppleEventDescriptor &descriptor)
    {
        return {Kind::reply, descriptor, std::nullopt, std::nullopt};
    }
    static ScriptHostReply failure(std::optional<qint64> number, std::optional<QString> message)
    {
        return {Kind::error, {}, number, std::move(message)};
    }
    static ScriptHostReply notUnderstood() { return {}; }
};

// Executes AppleScript texts: the real scripting system on a Mac, the simulator elsewhere.
// execute() is called on the bridge's queue, one script at a time, never on the main thread.
class ScriptHost {
public:
    virtual ~ScriptHost() = default;
    virtual ScriptHostReply execute(const QString &script) = 0;

    // The process-wide host; the program sets it once at start-up (tests set their own).
    // Until then it is an OsascriptHost.
    static std::shared_ptr<ScriptHost> shared();
    static void setShared(std::shared_ptr<ScriptHost> host);
};
