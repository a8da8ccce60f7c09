#include "app/QuickRunCommand.h"

#include "app/InstanceChannel.h"
#include "app/OpenCommand.h"
#include "ui/LibraryWindow.h"

#include <QPointer>

namespace {
const QString kind = QStringLiteral("quick-run");
} // namespace

QJsonObject quickRunRequest()
{
    return {{QStringLiteral("kind"), kind}};
}

int runQuickRunCommand(const CommandLine &commandLine)
{
    return handToWindow(commandLine, {quickRunRequest()}, {QStringLiteral("--quick-run")});
}

void installQuickRunEndpoint(InstanceChannel &channel, LibraryWindow &window)
{
    QPointer<LibraryWindow> target(&window);
    channel.setRequestHandler(kind, [target](QJsonObject) -> QCoro::Task<InstanceChannel::Reply> {
        if (!target)
            co_return InstanceChannel::Reply{false, QStringLiteral("this instance has no window")};
        target->openQuickRun();
        co_return InstanceChannel::Reply{true, QString()};
    });
}
