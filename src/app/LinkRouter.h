#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <functional>
#include <optional>

class LibraryWindow;
class ShortcutItem;

// Where the window's thimblecraft: links go: open and run links to the library, run-success and
// run-error callbacks to the runner. A run link asks the person first unless the setting
// "Links may run shortcuts without asking" is on: anyone can put a link on a web page. A link
// that is not understood is set aside with a notice.
class LinkRouter : public QObject {
    Q_OBJECT
public:
    explicit LinkRouter(LibraryWindow &window, QObject *parent = nullptr);

    // The link's text as it came: callbacks compare their scheme and host as written.
    void open(const QString &urlText);

    // Asks whether to run a shortcut (name, input); true runs it. The window's question by
    // default; tests answer in its place.
    using Confirmation = std::function<bool(const QString &name, const std::optional<QString> &)>;
    void setConfirmation(Confirmation confirmation) { m_confirm = std::move(confirmation); }

signals:
    // A link was set aside; the text says why (shown to the person too).
    void linkIgnored(const QString &why);

private:
    void askToRun(ShortcutItem *item, const std::optional<QString> &input);
    void ignore(const QUrl &url, const QString &why);

    LibraryWindow &m_window;
    Confirmation m_confirm;
};
