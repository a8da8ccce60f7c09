#pragma once

#include <QObject>
#include <optional>

class LibraryWindow;
class QSystemTrayIcon;
class TrayMenu;

// The program's icon in the menu bar or system tray (TrayMenu is its menu), shown while "Show in
// the menu bar / system tray" is on and the desktop has a tray. Then closing the window keeps
// the program running (the first time, a notice says so) until Quit, and a run that ends while
// the window is hidden reports its outcome beside the icon.
class TrayPresence : public QObject {
    Q_OBJECT
public:
    explicit TrayPresence(LibraryWindow &window, QObject *parent = nullptr);
    ~TrayPresence() override;

    // Whether the desktop shows tray icons (on Linux desktops: a StatusNotifier host runs).
    static bool isAvailable();
    // Test hook: the answer of isAvailable(); no value asks the desktop again.
    static void setAvailableForTesting(std::optional<bool> available);
    // Why the setting cannot be turned on here.
    static QString unavailableReason();
    static QString keepsRunningNotice();

    bool isShown() const;
    TrayMenu &menu() const { return *m_menu; }
    // Ends the program: the window closes for good.
    void quit();

signals:
    // A notice or an outcome, as shown beside the icon.
    void messageShown(const QString &title, const QString &text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void apply();
    void windowClosed();
    void showMessage(const QString &title, const QString &text);
    void outcomeChanged();

    LibraryWindow &m_window;
    TrayMenu *m_menu;
    QSystemTrayIcon *m_icon = nullptr;
    bool m_quitting = false;
};
