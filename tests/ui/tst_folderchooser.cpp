// The Shortcuts folder chooser, browsed in the data directory of the library this process owns:
// whatever the dialog shows, it must not open the store's files. POSIX locks belong to the
// process, and any close() of the store by other code drops SQLite's.

#include "harness/ProgramRuns.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "ui/FileDialogFolderChooser.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <sys/stat.h>
#include <unistd.h>

namespace {
// This process's POSIX locks on one file, as the kernel lists them in /proc/locks.
QStringList locksOn(const QString &path)
{
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return {};
    const QString inode = QStringLiteral(":%1 ").arg(st.st_ino);
    const QString pid = QStringLiteral(" %1 ").arg(::getpid());
    QFile file(QStringLiteral("/proc/locks"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList locks;
    for (const QByteArray &raw : file.readAll().split('\n')) {
        const QString line = QString::fromLatin1(raw);
        if (line.contains(QLatin1String("POSIX")) && line.contains(pid) && line.contains(inode))
            locks.append(line.section(QLatin1Char(':'), 1).simplified());
    }
    locks.sort();
    return locks;
}
} // namespace

class TestFolderChooser : public QObject {
    Q_OBJECT

private slots:
    void browsingTheDataDirectoryKeepsTheStoreLocked()
    {
        QStandardPaths::setTestModeEnabled(true);
        QTemporaryDir dir;
        AppSettings::useDataDirectory(dir.path());
        QString error;
        auto context = LibraryStoreContainer::open(dir.path(), &error);
        QVERIFY2(context, qPrintable(error));
        auto *item = new ShortcutItem(QStringLiteral("ID-1"), QStringLiteral("Before"));
        context->insert(item);
        QVERIFY(context->save(&error));
        const QString store = LibraryStoreContainer::storePath(dir.path());
        const QString shm = store + QStringLiteral("-shm");
        const QStringList storeLocks = locksOn(store);
        const QStringList shmLocks = locksOn(shm);
        QVERIFY2(!storeLocks.isEmpty() || !shmLocks.isEmpty(), "SQLite holds no lock to watch");

        // Browse the data directory in the real dialog until it has listed it, then cancel.
        bool listed = false;
        bool browsed = false;
        QTimer driver;
        driver.setInterval(20);
        connect(&driver, &QTimer::timeout, this, [&] {
            auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            if (!dialog)
                return;
            auto *model = dialog->findChild<QFileSystemModel *>();
            if (!model)
                return;
            if (!listed) {
                listed = true;
                // A dialog that never finishes listing is cancelled all the same.
                QTimer::singleShot(10000, dialog, &QDialog::reject);
                connect(model, &QFileSystemModel::directoryLoaded, dialog,
                        [&, dialog](const QString &loaded) {
                            if (QFileInfo(loaded) != QFileInfo(dir.path()))
                                return;
                            browsed = true;
                            // Types and icons are worked out after the listing.
                            QTimer::singleShot(500, dialog, &QDialog::reject);
                        });
                dialog->setDirectory(dir.path());
            }
        });
        driver.start();
        FileDialogFolderChooser chooser;
        const auto chosen = chooser.chooseFolder({QDir::tempPath(), QString(), QString()});
        driver.stop();
        QVERIFY(browsed);
        QVERIFY(!chosen);

        QCOMPARE(locksOn(store), storeLocks);
        QCOMPARE(locksOn(shm), shmLocks);

        // A reader that ends afterwards leaves the writer's log where it is, and what is
        // saved next reaches the file.
        const Run listedNames =
            runThimblecraft({QStringLiteral("list"), QStringLiteral("--data-dir"), dir.path()});
        QCOMPARE(listedNames.exitCode, 0);
        QCOMPARE(listedNames.out, QByteArray("Before\n"));
        QVERIFY(QFileInfo::exists(store + QStringLiteral("-wal")));
        item->setName(QStringLiteral("After"));
        QVERIFY(context->save(&error));
        const Run again =
            runThimblecraft({QStringLiteral("list"), QStringLiteral("--data-dir"), dir.path()});
        QCOMPARE(again.out, QByteArray("After\n"));
    }
};

QTEST_MAIN(TestFolderChooser)
#include "tst_folderchooser.moc"
