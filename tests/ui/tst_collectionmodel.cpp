#include "model/ModelContext.h"
#include "ui/FlowLayout.h"
#include "ui/RelativeDate.h"
#include "ui/ShortcutListModel.h"
#include "ui/ShortcutPainter.h"
#include "ui/ShortcutRoles.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QBuffer>
#include <QPainter>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>

// The collection's model moves rows in place, keeps persistent indexes on their records, and
// the painting and layout helpers follow their rules.
class CollectionModelTest : public QObject {
    Q_OBJECT
private slots:
    void updateReachesTargetKeepingIdentity_data();
    void updateReachesTargetKeepingIdentity();
    void recordChangesAreTargeted();
    void gradientRules();
    void flowLayoutWraps();
    void relativeDates_data();
    void relativeDates();
    void tileMarksKeepClear_data();
    void tileMarksKeepClear();
    void keptTilesMatchDrawnTiles();
};

void CollectionModelTest::updateReachesTargetKeepingIdentity_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("changes row by row") << 40;
    QTest::newRow("changes in many places, one layout") << 400;
}

void CollectionModelTest::updateReachesTargetKeepingIdentity()
{
    QFETCH(int, count);
    ModelContext context;
    QList<ShortcutItem *> all;
    for (int i = 0; i < count; ++i)
        all.append(context.insert(new ShortcutItem(QString::number(i), QString::number(i))));
    ShortcutListModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.reset(all.mid(0, count / 2));
    auto *random = QRandomGenerator::global();
    for (int round = 0; round < 200; ++round) {
        QList<ShortcutItem *> target;
        for (ShortcutItem *item : all)
            if (random->bounded(3) != 0)
                target.append(item);
        if (random->bounded(2))
            std::shuffle(target.begin(), target.end(), *random);
        QList<QPersistentModelIndex> held;
        QList<ShortcutItem *> heldItems;
        for (int row = 0; row < model.rowCount(); row += 3) {
            held.append(model.index(row));
            heldItems.append(model.itemAt(row));
        }
        model.update(target);
        QCOMPARE(model.items(), target);
        for (qsizetype i = 0; i < held.size(); ++i) {
            const int expected = int(target.indexOf(heldItems.at(i)));
            QCOMPARE(held.at(i).isValid() ? held.at(i).row() : -1, expected);
        }
        for (int row = 0; row < model.rowCount(); ++row)
            QCOMPARE(model.rowOf(target.at(row)), row);
    }
}

void CollectionModelTest::recordChangesAreTargeted()
{
    ModelContext context;
    QList<ShortcutItem *> items;
    for (int i = 0; i < 10; ++i)
        items.append(context.insert(new ShortcutItem(QString::number(i), QString::number(i))));
    ShortcutListModel model;
    model.reset(items);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    const quint64 before = model.revision(items.at(3));
    model.recordsChanged({items.at(3), items.at(4), items.at(8)});
    QCOMPARE(changed.count(), 2); // rows 3-4 and row 8
    QCOMPARE(changed.at(0).at(0).toModelIndex().row(), 3);
    QCOMPARE(changed.at(0).at(1).toModelIndex().row(), 4);
    QCOMPARE(changed.at(1).at(0).toModelIndex().row(), 8);
    QVERIFY(model.revision(items.at(3)) != before);
    changed.clear();
    QVERIFY(!model.listsRunning());
    model.setRunningIdentifiers({QStringLiteral("5")});
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.at(0).at(0).toModelIndex().row(), 5);
    QVERIFY(model.index(5).data(ShortcutRoles::isRunning).toBool());
    QVERIFY(model.listsRunning());
    // A shortcut running outside the listed ones keeps no spinner turning here.
    model.setRunningIdentifiers({QStringLiteral("elsewhere")});
    QVERIFY(!model.listsRunning());
}

void CollectionModelTest::gradientRules()
{
    ShortcutItem item(QStringLiteral("a"), QStringLiteral("A"));
    // No colour: grey-blue, lightened on top and darkened below.
    auto g = ShortcutPainter::gradient(item);
    QCOMPARE(g.top,
             QColor::fromRgbF(0.45f + 0.55f * 0.12f, 0.45f + 0.55f * 0.12f, 0.5f + 0.5f * 0.12f));
    QCOMPARE(g.bottom, QColor::fromRgbF(0.45f * 0.86f, 0.45f * 0.86f, 0.5f * 0.86f));
    item.setColorHex(QStringLiteral("#FF0000"));
    item.setIconTopHex(QStringLiteral("#000000"));
    item.setIconBottomHex(QStringLiteral("#FFFFFF"));
    g = ShortcutPainter::gradient(item); // both icon colours win over the shortcut's colour
    QCOMPARE(g.top, QColor::fromRgbF(0.12f, 0.12f, 0.12f));
    QCOMPARE(g.bottom, QColor::fromRgbF(1, 1, 1));
    item.setIconBottomHex(QString());
    g = ShortcutPainter::gradient(item);
    QCOMPARE(g.bottom, QColor::fromRgbF(0.86f, 0, 0));
    QCOMPARE(ShortcutPainter::fallbackSymbol(item), QStringLiteral("square.2.layers.3d.fill"));
    item.setIsMissing(true);
    QCOMPARE(ShortcutPainter::fallbackSymbol(item), QStringLiteral("questionmark"));
}

void CollectionModelTest::flowLayoutWraps()
{
    QWidget host;
    auto *layout = new FlowLayout(&host, 6);
    QList<QWidget *> chips;
    for (int i = 0; i < 10; ++i) {
        auto *chip = new QWidget(&host);
        chip->setFixedSize(i == 9 ? 400 : 70, 20);
        layout->addWidget(chip);
        chips.append(chip);
    }
    layout->setGeometry(QRect(0, 0, 300, 500));
    // 70 + 6 per chip: four to a row in 300 points.
    QCOMPARE(chips.at(3)->geometry().topLeft(), QPoint(228, 0));
    QCOMPARE(chips.at(4)->geometry().topLeft(), QPoint(0, 26)); // rows 6 apart
    // A chip wider than the pane sits alone at the start of its own row.
    QCOMPARE(chips.at(9)->geometry().topLeft(), QPoint(0, 78));
    QCOMPARE(layout->heightForWidth(300), 98);
    QCOMPARE(layout->sizeHint().height(), layout->heightForWidth(400));
}

void CollectionModelTest::relativeDates_data()
{
    QTest::addColumn<qint64>("secondsAgo");
    QTest::addColumn<QString>("text");
    QTest::newRow("now") << qint64(0) << "now";
    QTest::newRow("seconds") << qint64(30) << "30 seconds ago";
    QTest::newRow("minutes") << qint64(5 * 60) << "5 minutes ago";
    QTest::newRow("hour") << qint64(3600) << "1 hour ago";
    QTest::newRow("yesterday") << qint64(26 * 3600) << "yesterday";
    QTest::newRow("days") << qint64(3 * 86400) << "3 days ago";
    QTest::newRow("last week") << qint64(8 * 86400) << "last week";
    QTest::newRow("weeks") << qint64(15 * 86400) << "2 weeks ago";
    QTest::newRow("future") << qint64(-2 * 3600 - 5) << "in 2 hours";
    QTest::newRow("months") << qint64(70 * 86400 + 12 * 3600) << "2 months ago";
    QTest::newRow("last year") << qint64(404 * 86400 + 12 * 3600) << "last year";
}

void CollectionModelTest::relativeDates()
{
    QFETCH(qint64, secondsAgo);
    QFETCH(QString, text);
    const QDateTime now(QDate(2024, 3, 20), QTime(12, 0));
    QCOMPARE(RelativeDate::named(now.addSecs(-secondsAgo), now), text);
}

void CollectionModelTest::tileMarksKeepClear_data()
{
    QTest::addColumn<qreal>("width");
    for (const qreal width : {56.0, 90.0, 142.0, 320.0})
        QTest::addRow("%d wide", int(width)) << width;
}

// The star and the failed-run mark sit inside the tile's content, clear of each other, the
// glyph and the run button or spinner, and the star stays put when the other mark comes.
void CollectionModelTest::tileMarksKeepClear()
{
    QFETCH(qreal, width);
    ModelContext context;
    ShortcutItem *item = context.insert(new ShortcutItem(QStringLiteral("I"), QStringLiteral("N")));
    const QRectF tile(10, 20, width, width / ShortcutPainter::tileAspectRatio);
    const QRectF content = tile.adjusted(width * 0.113, width * 0.09, -width * 0.113, -width * 0.1);
    const QRectF glyph(content.topLeft(), QSizeF(width * 0.2, width * 0.2));
    for (const auto &[hovering, running] :
         {std::pair{false, false}, {true, false}, {false, true}}) {
        ShortcutPainter::ViewState state;
        state.hovering = hovering;
        state.running = running;
        item->setIsFavorite(true);
        item->setLastRunOutcome(RunOutcome::none);
        const QRectF star = ShortcutPainter::tileMarks(tile, *item, state).value(0).rect;
        item->setLastRunOutcome(RunOutcome::failed);
        const auto marks = ShortcutPainter::tileMarks(tile, *item, state);
        QCOMPARE(marks.size(), 2);
        QCOMPARE(marks[0].rect, star);
        QCOMPARE(marks[1].symbol, QStringLiteral("exclamationmark.triangle.fill"));
        QVERIFY(!marks[0].rect.intersects(marks[1].rect));
        for (const auto &mark : marks) {
            QVERIFY(content.contains(mark.rect));
            QVERIFY(!mark.rect.intersects(glyph));
            if (hovering || running)
                QVERIFY(!mark.rect.intersects(ShortcutPainter::tileRunButtonRect(tile)));
        }
        item->setIsFavorite(false); // alone, it takes the corner
        QCOMPARE(ShortcutPainter::tileMarks(tile, *item, state).value(0).rect, star);
    }
}

namespace {
QImage drawn(const std::function<void(QPainter &)> &paint)
{
    QImage image(160, 120, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter);
    return image;
}
} // namespace

// A kept tile looks exactly like one drawn afresh, in every state, including after its icons
// were decoded ahead; a new revision of the record is drawn anew, never taken from the cache.
void CollectionModelTest::keptTilesMatchDrawnTiles()
{
    ModelContext context;
    ShortcutItem *item =
        context.insert(new ShortcutItem(QStringLiteral("I"), QStringLiteral("Morning Routine")));
    QImage glyph(96, 96, QImage::Format_ARGB32_Premultiplied);
    glyph.fill(Qt::white);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    glyph.save(&buffer, "PNG");
    item->setIconData(png);
    item->setColorHex(QStringLiteral("#FF9500"));
    const QRect rect(6, 4, 142, 97);
    quint64 revision = 1;
    for (const auto &[selected, hovering] :
         {std::pair{false, false}, {true, false}, {false, true}}) {
        ShortcutPainter::ViewState state;
        state.selected = selected;
        state.hovering = hovering;
        for (const bool decodedAhead : {false, true}) {
            ++revision;
            if (decodedAhead)
                ShortcutPainter::prepareTiles({{item, revision, rect, state},
                                               {item, revision, rect.translated(0, 100), state}},
                                              1);
            const QImage fresh = drawn(
                [&](QPainter &p) { ShortcutPainter::drawTile(p, rect, *item, revision, state); });
            for (int pass = 0; pass < 2; ++pass) // drawn into the cache, then taken from it
                QCOMPARE(drawn([&](QPainter &p) {
                             ShortcutPainter::drawTileCached(p, rect, *item, revision, state);
                         }),
                         fresh);
        }
    }
    const QImage before =
        drawn([&](QPainter &p) { ShortcutPainter::drawTileCached(p, rect, *item, revision, {}); });
    item->setName(QStringLiteral("Evening Routine"));
    const QImage renamed = drawn(
        [&](QPainter &p) { ShortcutPainter::drawTileCached(p, rect, *item, revision + 1, {}); });
    QVERIFY(renamed != before);
    QCOMPARE(renamed, drawn([&](QPainter &p) {
                 ShortcutPainter::drawTile(p, rect, *item, revision + 1, {});
             }));
}

QTEST_MAIN(CollectionModelTest)
#include "tst_collectionmodel.moc"
