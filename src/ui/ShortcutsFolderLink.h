#pragma once

#include <QObject>

class QWidget;

// Linking the Shortcuts folder from the window: the chooser, a clear message when the chosen
// folder holds no database, and one signal every view showing the link state listens to.
class ShortcutsFolderLink : public QObject {
    Q_OBJECT
public:
    static ShortcutsFolderLink &shared();

    // Asks for the folder; true when one was linked. A folder without a database is refused
    // with a message over parent.
    bool choose(QWidget *parent);

signals:
    void linked();
};
