#pragma once

#include <QDialog>

class ModelContext;
class QListView;
class RunEntryView;
class RunHistoryModel;
class ShortcutItem;

// A shortcut's runs in a sheet: its whole history as a list beside the chosen run, or one run
// alone. It reads the history again after every save that changes it, and closes when the
// shortcut is deleted.
class RunHistorySheet : public QDialog {
    Q_OBJECT
public:
    // The whole history, the newest run chosen.
    RunHistorySheet(ModelContext &context, ShortcutItem *item, QWidget *parent = nullptr);
    // The run with this id.
    RunHistorySheet(ModelContext &context, ShortcutItem *item, qint64 entryId,
                    QWidget *parent = nullptr);

    // Null for a sheet of one run.
    QListView *list() const { return m_list; }
    RunHistoryModel *model() const { return m_model; }
    RunEntryView *entryView() const { return m_entryView; }

private:
    RunHistorySheet(ModelContext &context, ShortcutItem *item, qint64 entryId, bool whole,
                    QWidget *parent);
    void reload();
    void showCurrent();

    ModelContext &m_context;
    ShortcutItem *m_item;
    qint64 m_entryId;
    QListView *m_list = nullptr;
    RunHistoryModel *m_model = nullptr;
    RunEntryView *m_entryView;
};
