// The icon queue as a pipeline: the next icon is fetched while the last one is processed. What
// the overlap could get wrong: results applied to the wrong records or in the wrong cycle, a
// refusal that leaves part of its cycle stored, an identifier taken ahead that is lost, fetched
// twice, jumped by a priority request more than one place, or kept after a stop, and a
// controller destroyed with a fetch and a processing under way.
#include "SyncTestSupport.h"
#include "common/ScriptedHost.h"
#include "shortcuts/IconProcessing.h"
#include "simulator/SimulatedIconRenderer.h"

#include <QSignalSpy>
#include <QThread>

namespace {
enum class Answer { icon, nil, failure, refusal };

// An icon of its own per identifier: glyph and colours differ, so a result applied to the wrong
// record shows.
QByteArray iconOf(int i)
{
    const QStringList glyphs = SimulatedIconRenderer::glyphNames();
    return SimulatedIconRenderer::renderPNG(glyphs.at(i % glyphs.size()),
                                            QColor::fromHsv((i * 37) % 360, 200, 230),
                                            QColor::fromHsv((i * 37 + 20) % 360, 220, 250));
}

// A Shortcuts stand-in that answers the icon script of ID0..IDn-1 with each one's own icon,
// or as the test says.
struct Library {
    int count;
    QHash<QString, QString> identifierOfScript;
    QHash<QString, Answer> answers; // by identifier; icon when absent
    QHash<QString, IconProcessing::Result> expected;
    std::shared_ptr<ScriptedHost> host;
    ShortcutsEventsBridge bridge;

    Library(int n, bool gated = false, int fetchDelayMs = 0)
        : count(n), host(std::make_shared<ScriptedHost>(gated)), bridge(host)
    {
        QHash<QString, QByteArray> icons;
        for (int i = 0; i < n; ++i) {
            identifierOfScript.insert(ShortcutsEventsBridge::iconScript(idAt(i)), idAt(i));
            icons.insert(idAt(i), iconOf(i));
            expected.insert(idAt(i), *IconProcessing::process(icons[idAt(i)]));
        }
        host->answer = [this, icons, fetchDelayMs](const QString &script) {
            if (fetchDelayMs > 0)
                QThread::msleep(ulong(fetchDelayMs));
            const QString id = identifierOfScript.value(script);
            switch (answers.value(id, Answer::icon)) {
            case Answer::icon:
                return ScriptHostReply::success(
                    AppleEventDescriptor::data(DescriptorType::png, icons.value(id)));
            case Answer::nil:
                return ScriptHostReply::success(AppleEventDescriptor::null());
            case Answer::failure:
                return ScriptHostReply::failure(-1728, QStringLiteral("Can't get shortcut."));
            case Answer::refusal:
                return ScriptHostReply::failure(-10004, QStringLiteral("A privilege violation."));
            }
            return ScriptHostReply::failure(-1, QString());
        };
    }
    ~Library()
    {
        // Nothing may stay held on the bridge's queue for the next test.
        host->gate.release(10000);
        ShortcutsEventsBridge::queue().waitForDone();
    }

    // The identifiers asked for, in order.
    QStringList asked() const
    {
        QStringList out;
        for (const QString &script : host->scripts())
            out.append(identifierOfScript.value(script, script));
        return out;
    }
};

// A controller over the fixture's store holding ID0..IDn-1, and the phases it goes through.
struct Queue {
    std::unique_ptr<LibrarySyncController> controller;
    QList<SyncPhase> phases;

    Queue(SyncFixture &f, Library &library)
        : controller(
              std::make_unique<LibrarySyncController>(*f.context, library.bridge, *f.settings))
    {
        QList<ShortcutSnapshot> list;
        for (const QString &id : ids(0, library.count))
            list.append(snapshot(id, id));
        controller->merge(list);
        LibrarySyncController *c = controller.get();
        QObject::connect(c, &LibrarySyncController::phaseChanged, c,
                         [this, c] { phases.append(c->phase()); });
    }
};

// The phases of a run whose cycles ended at these counts of identifiers taken (none when no
// cycle ended: the phase never left idle).
QList<SyncPhase> cyclesThenIdle(const QList<int> &done, int total)
{
    QList<SyncPhase> out;
    if (done.isEmpty())
        return out;
    for (int d : done)
        out.append(SyncPhase::icons(d, total));
    out.append(SyncPhase::idle());
    return out;
}

// Each record of `withIcons` holds its own processed icon; every other record holds none.
void verifyIcons(SyncFixture &f, const Library &library, const QStringList &withIcons)
{
    for (const QString &id : ids(0, library.count)) {
        ShortcutItem *item = f.item(id);
        QVERIFY2(item, qPrintable(id));
        if (withIcons.contains(id)) {
            QVERIFY2(item->iconData() == library.expected[id].glyphPNG, qPrintable(id));
            QCOMPARE(item->iconTopHex(), library.expected[id].topHex);
            QCOMPARE(item->iconBottomHex(), library.expected[id].bottomHex);
        } else {
            QVERIFY2(!item->hasIconData(), qPrintable(id));
        }
    }
}
} // namespace

class TestIconPipeline : public QObject {
    Q_OBJECT

private slots:
    // Every icon lands on its own record, each identifier is fetched once and in queue order,
    // and cycles count what they took, however fetches and processings interleave.
    void resultsAndOrder_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("fetchDelayMs");
        QTest::addColumn<QStringList>("nil");
        QTest::addColumn<QStringList>("failing");
        QTest::addColumn<QList<int>>("cycles");
        QTest::newRow("one") << 1 << 0 << QStringList() << QStringList() << QList<int>{1};
        QTest::newRow("one cycle") << 8 << 0 << QStringList() << QStringList() << QList<int>{8};
        QTest::newRow("one taken ahead into the next cycle")
            << 9 << 0 << QStringList() << QStringList() << QList<int>{8, 9};
        QTest::newRow("fetches slower than processing")
            << 17 << 4 << QStringList() << QStringList() << QList<int>{8, 16, 17};
        // Nothing to process: no fetch is started ahead, the next one follows at once.
        QTest::newRow("nil icons and failures, also last of a cycle and first of the next")
            << 20 << 0 << QStringList{"ID3", "ID7", "ID19"} << QStringList{"ID0", "ID8"}
            << QList<int>{8, 16, 20};
    }
    void resultsAndOrder()
    {
        QFETCH(int, count);
        QFETCH(int, fetchDelayMs);
        QFETCH(QStringList, nil);
        QFETCH(QStringList, failing);
        QFETCH(QList<int>, cycles);
        SyncFixture f;
        Library library(count, false, fetchDelayMs);
        for (const QString &id : nil)
            library.answers.insert(id, Answer::nil);
        for (const QString &id : failing)
            library.answers.insert(id, Answer::failure);
        Queue q(f, library);
        q.controller->startIconFetch();
        runToEnd(q.controller->iconFetchFinished());
        QCOMPARE(library.asked(), ids(0, count));
        QCOMPARE(q.phases, cyclesThenIdle(cycles, count));
        QStringList withIcons = ids(0, count);
        for (const QString &id : nil + failing)
            withIcons.removeAll(id);
        verifyIcons(f, library, withIcons);
        QCOMPARE(q.controller->iconsCompleted(), 0);
        QCOMPARE(q.controller->iconsTotal(), 0);
    }

    // A refusal ends the worker where it is: nothing of its cycle is stored (the icon processed
    // beside the refused fetch included), earlier cycles stay, nothing more is asked for.
    void refusal_data()
    {
        QTest::addColumn<int>("refusedAt");
        QTest::newRow("second, beside the first one's processing") << 1;
        QTest::newRow("last of the first cycle") << 7;
        QTest::newRow("first of the second cycle, fetched ahead") << 8;
        QTest::newRow("in the second cycle") << 11;
    }
    void refusal()
    {
        QFETCH(int, refusedAt);
        SyncFixture f;
        Library library(20);
        library.answers.insert(idAt(refusedAt), Answer::refusal);
        Queue q(f, library);
        q.controller->startIconFetch();
        runToEnd(q.controller->iconFetchFinished());
        const int storedCycles = refusedAt / LibrarySyncController::iconCycleSize;
        QCOMPARE(library.asked(), ids(0, refusedAt + 1));
        QList<int> cycles;
        for (int k = 1; k <= storedCycles; ++k)
            cycles.append(k * LibrarySyncController::iconCycleSize);
        QCOMPARE(q.phases, cyclesThenIdle(cycles, 20));
        verifyIcons(f, library, ids(0, storedCycles * LibrarySyncController::iconCycleSize));
        QVERIFY(q.controller->iconFetchBlocked());
        QVERIFY(q.controller->iconQueue().isEmpty());
        QVERIFY(q.controller->phase().isIdle());
        QVERIFY(q.controller->priorityIdentifiers().isEmpty());
    }

    // Held at the moment the fetch of identifier `ahead` has started beside the processing of
    // the one before it (at a cycle's end the next cycle's first identifier is the one ahead),
    // then a priority request, a stop or the controller's end.
    void takenAhead_data()
    {
        QTest::addColumn<int>("ahead");
        QTest::addColumn<QString>("action");
        QTest::addColumn<QStringList>("asked");
        QTest::addColumn<QStringList>("withIcons");
        QTest::addColumn<QList<SyncPhase>>("phases");
        const QStringList all = ids(0, 20);
        const QList<SyncPhase> whole = cyclesThenIdle({8, 16, 20}, 20);
        // A priority request waits behind the one identifier already taken ahead, no more.
        QTest::newRow("priority, within a cycle")
            << 1 << "prioritize" << QStringList{"ID0", "ID1", "ID17"} + ids(2, 17) + ids(18, 20)
            << all << whole;
        QTest::newRow("priority, ahead across the cycle's end")
            << 8 << "prioritize" << ids(0, 9) + QStringList{"ID17"} + ids(9, 17) + ids(18, 20)
            << all << whole;
        // A stop drops the identifier taken ahead with the queue; the cycle before it is saved,
        // and the next fetch finds the dropped identifier queued again.
        QTest::newRow("stop, within a cycle")
            << 1 << "stop" << ids(0, 2) + ids(1, 20) << all
            << cyclesThenIdle({1}, 20) + cyclesThenIdle({8, 16, 19}, 19);
        QTest::newRow("stop, ahead across the cycle's end, then start again")
            << 8 << "stop" << ids(0, 9) + ids(8, 20) << all
            << cyclesThenIdle({8}, 20) + cyclesThenIdle({8, 12}, 12);
        // Destroyed with a processing and a fetch under way, or with the fetch ahead only:
        // nothing more is asked or stored, and nothing is touched after the end.
        QTest::newRow("destroyed, within a cycle")
            << 1 << "destroy" << ids(0, 2) << QStringList() << QList<SyncPhase>();
        QTest::newRow("destroyed after saving a cycle, the next one's first ahead")
            << 8 << "destroy" << ids(0, 9) << ids(0, 8)
            << QList<SyncPhase>{SyncPhase::icons(8, 20)};
    }
    void takenAhead()
    {
        QFETCH(int, ahead);
        QFETCH(QString, action);
        QFETCH(QStringList, asked);
        QFETCH(QStringList, withIcons);
        QFETCH(QList<SyncPhase>, phases);
        SyncFixture f;
        Library library(20, true);
        Queue q(f, library);
        q.controller->startIconFetch();
        library.host->gate.release(ahead);
        QTRY_COMPARE(library.host->scripts().size(), ahead + 1);
        if (action == QLatin1String("prioritize")) {
            q.controller->prioritizeIcon(f.item("ID17"));
            QCOMPARE(q.controller->priorityIdentifiers(), QStringList{"ID17"});
        } else if (action == QLatin1String("stop")) {
            q.controller->stopIconFetch();
        } else {
            if (ahead >= LibrarySyncController::iconCycleSize)
                QTRY_COMPARE(q.phases.size(), 1);
            q.controller.reset();
        }
        library.host->gate.release(10000);
        if (q.controller) {
            runToEnd(q.controller->iconFetchFinished());
            if (action == QLatin1String("stop")) {
                QVERIFY(!q.controller->iconFetchRunning());
                q.controller->startIconFetch();
                runToEnd(q.controller->iconFetchFinished());
            }
        } else {
            // The fetch and the processing end with nobody to hand their results to.
            ShortcutsEventsBridge::queue().waitForDone();
            QTest::qWait(100);
        }
        QCOMPARE(library.asked(), asked);
        QCOMPARE(q.phases, phases);
        verifyIcons(f, library, withIcons);
    }

    // Cycles find their records by identifier through a table kept between cycles; records that
    // change between two cycles are found as a walk over the library would find them.
    void recordsChangedBetweenCycles_data()
    {
        QTest::addColumn<QString>("change");
        QTest::newRow("identifier moved to another record") << "moved";
        QTest::newRow("record deleted") << "deleted";
        QTest::newRow("second record with the identifier") << "twin";
    }
    void recordsChangedBetweenCycles()
    {
        QFETCH(QString, change);
        SyncFixture f;
        Library library(12);
        Queue q(f, library);
        QList<ShortcutSnapshot> list;
        for (const QString &id : ids(0, 12))
            list.append(snapshot(id, id));
        list.append(snapshot("", "Placeholder"));
        q.controller->merge(list);
        ShortcutItem *other = f.item("name:Placeholder");
        QVERIFY(other);
        ShortcutItem *original = f.item("ID9");
        // Right after the first cycle is applied, before the second takes ID9.
        bool changed = false;
        QObject::connect(q.controller.get(), &LibrarySyncController::phaseChanged,
                         q.controller.get(), [&] {
                             if (changed)
                                 return;
                             changed = true;
                             if (change == QLatin1String("moved")) {
                                 original->setIdentifier(QStringLiteral("gone"));
                                 other->setIdentifier(QStringLiteral("ID9"));
                             } else if (change == QLatin1String("deleted")) {
                                 f.context->deleteRecord(original);
                             } else {
                                 other = f.context->insert(new ShortcutItem("ID9", "Twin"));
                             }
                         });
        q.controller->startIconFetch();
        runToEnd(q.controller->iconFetchFinished());
        QVERIFY(changed);
        const IconProcessing::Result &nine = library.expected["ID9"];
        if (change != QLatin1String("deleted")) {
            QVERIFY(other->iconData() == nine.glyphPNG);
            QCOMPARE(other->iconTopHex(), nine.topHex);
        }
        if (change == QLatin1String("moved"))
            QVERIFY(!original->hasIconData());
        if (change == QLatin1String("twin"))
            QVERIFY(original->iconData() == nine.glyphPNG);
        for (const QString &id : ids(0, 12)) {
            if (id != QLatin1String("ID9"))
                QCOMPARE(f.item(id)->iconTopHex(), library.expected[id].topHex);
        }
    }
};

QTEST_GUILESS_MAIN(TestIconPipeline)
#include "tst_icon_pipeline.moc"
