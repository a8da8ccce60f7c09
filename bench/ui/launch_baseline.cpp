// The bare program a launch is measured against: opens a store file with SQLite, reads every
// shortcut's name and shows them in a QListView. Prints "painted N" once the list of N names has
// painted.
#include <QApplication>
#include <QListView>
#include <QStringListModel>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>

namespace {
int shownNames = 0;

struct FirstPaint : QObject {
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            QTimer::singleShot(0, [] {
                std::printf("painted %d\n", shownNames);
                std::fflush(stdout);
                std::_Exit(0);
            });
        return false;
    }
};
} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: launch_baseline STORE [--uniform]\n");
        return 2;
    }
    sqlite3 *db = nullptr;
    if (sqlite3_open_v2(argv[1], &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        std::fprintf(stderr, "cannot open %s\n", argv[1]);
        return 1;
    }
    QStringList names;
    sqlite3_stmt *st = nullptr;
    // A query that cannot be prepared would leave the list empty and the baseline meaningless.
    if (sqlite3_prepare_v2(db, "SELECT name FROM shortcut_items", -1, &st, nullptr) != SQLITE_OK) {
        std::fprintf(stderr, "cannot read the names: %s\n", sqlite3_errmsg(db));
        return 1;
    }
    while (sqlite3_step(st) == SQLITE_ROW)
        names.append(QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(st, 0)),
                                       sqlite3_column_bytes(st, 0)));
    sqlite3_finalize(st);
    sqlite3_close(db);

    shownNames = int(names.size());
    QStringListModel model(names);
    QListView view;
    // --uniform: every row as high as the first, so the view does not measure each name first.
    view.setUniformItemSizes(argc > 2 && QByteArray(argv[2]) == "--uniform");
    view.setModel(&model);
    FirstPaint watcher;
    view.viewport()->installEventFilter(&watcher);
    view.resize(1280, 800);
    view.show();
    return app.exec();
}
