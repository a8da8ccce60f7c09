#include "shortcuts/ScriptHost.h"

#include "shortcuts/OsascriptHost.h"

#include <QMutex>

namespace {
QMutex hostMutex;

std::shared_ptr<ScriptHost> &instance()
{
    static std::shared_ptr<ScriptHost> host;
    return host;
}
} // namespace

std::shared_ptr<ScriptHost> ScriptHost::shared()
{
    QMutexLocker lock(&hostMutex);
    if (!instance())
        instance() = std::make_shared<OsascriptHost>();
    return instance();
}

void ScriptHost::setShared(std::shared_ptr<ScriptHost> host)
{
    QMutexLocker lock(&hostMutex);
    instance() = std::move(host);
}
