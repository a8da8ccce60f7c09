#pragma once

#include "shortcuts/ScriptHost.h"

#include <QByteArray>
#include <QString>

// The real host on a Mac: runs `osascript -s s` with the script on standard input and reads
// the reply from AppleScript's source form. The program is THIMBLECRAFT_OSASCRIPT when that is
// set, else osascript from PATH.
class OsascriptHost final : public ScriptHost {
public:
    // An empty program means: decide at every script, as described above.
    explicit OsascriptHost(QString program = {});
    ScriptHostReply execute(const QString &script) override;

    static QString defaultProgram();
    // The error information in osascript's standard error ("…: execution error: MESSAGE (N)").
    static ScriptHostReply failureFromStandardError(const QByteArray &standardError);

private:
    QString m_program;
};
