#pragma once

#include "shortcuts/ScriptHost.h"

#include <QMutex>
#include <QSemaphore>
#include <QStringList>
#include <functional>

// Records every script and answers through a function, on the bridge's queue. A gated host
// holds each script until the test releases the gate.
class ScriptedHost final : public ScriptHost {
public:
    explicit ScriptedHost(bool gated = false) : m_gated(gated) {}
    QSemaphore gate;
    std::function<ScriptHostReply(const QString &)> answer = [](const QString &) {
        return ScriptHostReply::success(AppleEventDescriptor::null());
    };
    ScriptHostReply execute(const QString &script) override
    {
        {
            QMutexLocker lock(&m_mutex);
            m_scripts.append(script);
        }
        if (m_gated)
            gate.acquire();
        return answer(script);
    }
    QStringList scripts()
    {
        QMutexLocker lock(&m_mutex);
        return m_scripts;
    }

private:
    const bool m_gated;
    QMutex m_mutex;
    QStringList m_scripts;
};
