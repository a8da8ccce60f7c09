#include "shortcuts/FolderChooser.h"

namespace {
class NoFolderChooser final : public FolderChooser {
public:
    std::optional<QString> chooseFolder(const Request &) override { return std::nullopt; }
};

std::unique_ptr<FolderChooser> &instance()
{
    static std::unique_ptr<FolderChooser> c = std::make_unique<NoFolderChooser>();
    return c;
}

std::optional<std::optional<QString>> &pendingAnswer()
{
    static std::optional<std::optional<QString>> answer;
    return answer;
}
} // namespace

FolderChooser &FolderChooser::shared()
{
    return *instance();
}

void FolderChooser::setShared(std::unique_ptr<FolderChooser> chooser)
{
    instance() = chooser ? std::move(chooser) : std::make_unique<NoFolderChooser>();
}

void FolderChooser::answerNextWith(std::optional<QString> folder)
{
    pendingAnswer() = std::move(folder);
}

std::optional<QString> FolderChooser::choose(const Request &request)
{
    if (auto &pending = pendingAnswer()) {
        std::optional<QString> answer = std::move(*pending);
        pending.reset();
        return answer;
    }
    return shared().chooseFolder(request);
}
