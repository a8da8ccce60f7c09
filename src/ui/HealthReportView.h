#pragma once

#include <QWidget>

class EmptyStatePanel;
class HealthReportModel;
class LibraryHealthMonitor;
class ModelContext;
class QListView;
class QStackedWidget;
class Record;

// The library's health report in the middle column: findings grouped by kind with what they
// mean and how to fix them, or a healthy-library panel when there are none. Choosing an entry
// asks for the record it names. Rebuilt after each check while it is shown.
class HealthReportView : public QWidget {
    Q_OBJECT
public:
    explicit HealthReportView(ModelContext &context, QWidget *parent = nullptr);

    QListView *list() const { return m_list; }
    HealthReportModel *model() const { return m_model; }
    EmptyStatePanel *emptyState() const { return m_empty; }

signals:
    void recordChosen(Record *record);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void rebuild();

    LibraryHealthMonitor &m_monitor;
    HealthReportModel *m_model;
    QListView *m_list;
    EmptyStatePanel *m_empty;
    QStackedWidget *m_stack;
};
