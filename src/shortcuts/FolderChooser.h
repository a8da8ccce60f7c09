#pragma once

#include <QString>
#include <memory>
#include <optional>

// Asks the person for a folder. The window layer provides the real dialog; this library only
// knows the interface, so it stays free of widgets.
class FolderChooser {
public:
    struct Request {
        QString startDirectory;
        QString message;
        // Text of the confirm button.
        QString prompt;
    };

    virtual ~FolderChooser() = default;
    // Runs modally on the main thread; no value when the person cancelled.
    virtual std::optional<QString> chooseFolder(const Request &request) = 0;

    // The process-wide chooser; without one set, every request is cancelled.
    static FolderChooser &shared();
    static void setShared(std::unique_ptr<FolderChooser> chooser);

    // Test hook: the next choose() answers with this folder (no value: cancelled) instead of
    // asking, once.
    static void answerNextWith(std::optional<QString> folder);
    // The shared chooser, unless a test answer is pending.
    static std::optional<QString> choose(const Request &request);
};
