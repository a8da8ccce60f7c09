#pragma once

#include "LayoutCheck.h"
#include "MenuText.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"

#include <QAction>
#include <QComboBox>
#include <QMenu>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

// Helpers shared by the sidebar, detail and editor tests.
namespace PaneTest {
// The action named `name` anywhere below `root` (menus and submenus included), or null.
inline QAction *findAction(QObject *root, const QString &name)
{
    return root ? root->findChild<QAction *>(name) : nullptr;
}

inline QMenu *findMenu(QObject *root, const QString &name)
{
    return root ? root->findChild<QMenu *>(name) : nullptr;
}

// Texts of a picker's entries in order.
inline QStringList itemTexts(const QComboBox *picker)
{
    QStringList texts;
    for (int i = 0; i < picker->count(); ++i)
        texts.append(picker->itemText(i));
    return texts;
}

// Lets the context's coalesced change announcement (one per turn of the event loop) arrive.
inline void settle()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

// A store-backed context in `dir`, in test mode with its settings beside it; reopening the same
// directory shows what was saved.
inline std::unique_ptr<ModelContext> openStore(const QTemporaryDir &dir)
{
    QStandardPaths::setTestModeEnabled(true);
    AppSettings::useDataDirectory(dir.path());
    QString error;
    auto context = LibraryStoreContainer::open(dir.path(), &error);
    if (!context)
        qWarning("store did not open: %s", qPrintable(error));
    return context;
}
} // namespace PaneTest

// Triggers the action named `name` below `root`.
#define TRIGGER(root, name) TRIGGER_ACTION(PaneTest::findAction((root), (name)))

// A store-backed library in a temporary directory, shared by the pane suites.
struct PaneFixture {
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ModelContext> m_context;
    int m_next = 0;

    bool openLibrary()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_context = PaneTest::openStore(*m_dir);
        return m_context != nullptr;
    }
    void closeLibrary()
    {
        m_context.reset();
        m_dir.reset();
    }
    void saveAndSettle()
    {
        m_context->save();
        PaneTest::settle();
    }
    std::unique_ptr<ModelContext> reopen() const { return PaneTest::openStore(*m_dir); }
    ShortcutItem *addShortcut(const QString &name)
    {
        return m_context->insert(new ShortcutItem(QStringLiteral("ID-%1").arg(++m_next), name));
    }
};
