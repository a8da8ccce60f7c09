#pragma once

#include <QTimer>
#include <QWidget>

class LibrarySyncController;
class ModelContext;
class QLabel;
class QProgressBar;
class QPushButton;
class TextBlock;

// The bar along the bottom of the collection: syncing, icon progress, or when the library was
// last synced with the sync summary and the two prompts (link the Shortcuts database, get icons
// with the helper shortcut).
class SyncStatusLine : public QWidget {
    Q_OBJECT
public:
    SyncStatusLine(LibrarySyncController &syncer, ModelContext &context, QWidget *parent = nullptr);

    QString text() const;
    QPushButton *linkDatabaseButton() const { return m_linkDatabase; }
    QPushButton *helperButton() const { return m_helper; }
    void refresh();

private:
    LibrarySyncController &m_syncer;
    ModelContext &m_context;
    QProgressBar *m_spinner;
    QProgressBar *m_progress;
    TextBlock *m_label;
    QLabel *m_linkSeparator;
    QPushButton *m_linkDatabase;
    QLabel *m_helperSeparator;
    QPushButton *m_helper;
    QTimer m_clock;
};
