#include "shortcuts/Workspace.h"

namespace {
// Until the program chooses one, nothing is opened and no app is installed.
class NoWorkspace final : public Workspace {
public:
    bool openUrl(const QUrl &) override { return false; }
    bool openFile(const QString &) override { return false; }
    QImage applicationIcon(const QString &) override { return {}; }
};

std::unique_ptr<Workspace> &instance()
{
    static std::unique_ptr<Workspace> w = std::make_unique<NoWorkspace>();
    return w;
}
} // namespace

Workspace &Workspace::shared()
{
    return *instance();
}

void Workspace::setShared(std::unique_ptr<Workspace> workspace)
{
    instance() = workspace ? std::move(workspace) : std::make_unique<NoWorkspace>();
}
