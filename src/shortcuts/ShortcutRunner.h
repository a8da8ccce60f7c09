#pragma once

#include "model/RunEntry.h"

#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QUrl>
#include <QUuid>
#include <optional>

class ModelContext;
class ShortcutItem;
class ShortcutsEventsBridge;
class Workspace;

// Runs library shortcuts through the bridge, keeps which are running and the outcome of the run
// that finished last, opens shortcuts in the Shortcuts app and reads run callback URLs.
// Main thread only.
class ShortcutRunner : public QObject {
    Q_OBJECT
public:
    struct Outcome {
        QUuid id;
        QString shortcutName;
        std::optional<QString> output; // absent on failure
        std::optional<QString> error;  // absent on success
        QDateTime date;
        bool operator==(const Outcome &other) const { return id == other.id; }
    };

    Q_PROPERTY(
        QSet<QString> runningIdentifiers READ runningIdentifiers NOTIFY runningIdentifiersChanged)
    Q_PROPERTY(std::optional<ShortcutRunner::Outcome> latestOutcome READ latestOutcome NOTIFY
                   latestOutcomeChanged)

    // Without a bridge or workspace the shared ones are used.
    explicit ShortcutRunner(ShortcutsEventsBridge *bridge = nullptr, Workspace *workspace = nullptr,
                            QObject *parent = nullptr);
    static ShortcutRunner &shared();

    const QSet<QString> &runningIdentifiers() const { return m_runningIdentifiers; }
    bool isRunning(const QString &identifier) const
    {
        return m_runningIdentifiers.contains(identifier);
    }
    const std::optional<Outcome> &latestOutcome() const { return m_latestOutcome; }

    // Counts the run and saves the item's context at once, then runs in the background. The
    // run goes into the run history (when it is kept) with the count, its outcome when it ends.
    void run(ShortcutItem *item, const std::optional<QString> &input = std::nullopt,
             RunSource source = RunSource::window);
    // The same, handing back this run's outcome when it has finished (no value without an item).
    QCoro::Task<std::optional<Outcome>> runForOutcome(ShortcutItem *item,
                                                      std::optional<QString> input,
                                                      RunSource source = RunSource::window);
    void openInShortcuts(const ShortcutItem *item);
    // A URL's text as it arrived; the scheme and host are compared exactly as written.
    void handleCallbackURL(const QString &urlText);
    // For URLs that are only known as QUrl (scheme and host already lower-cased).
    void handleCallbackURL(const QUrl &url);
    // Where a callback's outcome is recorded: the shortcut of that name, when only one has it.
    void setCallbackContext(ModelContext *context);

    // shortcuts://open-shortcut?name=…
    static QUrl openShortcutURL(const QString &name);

signals:
    void runningIdentifiersChanged();
    void latestOutcomeChanged();

private:
    ShortcutsEventsBridge &bridge() const;
    Workspace &workspace() const;
    void setLatestOutcome(const QString &name, const std::optional<QString> &output,
                          const std::optional<QString> &error);
    void recordCallback(const QString &name, const std::optional<QString> &output,
                        const std::optional<QString> &error);
    void finishRun(const QString &identifier);

    ShortcutsEventsBridge *m_bridge;
    Workspace *m_workspace;
    QSet<QString> m_runningIdentifiers;
    std::optional<Outcome> m_latestOutcome;
    QPointer<ModelContext> m_callbackContext;
};
