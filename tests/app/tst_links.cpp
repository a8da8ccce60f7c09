// thimblecraft://open and ://run links in the real window: where they lead, the question before a
// run, the setting that drops it, and links that are set aside.

#include "app/LinkRouter.h"
#include "model/LibraryLinks.h"
#include "ui/WindowTestSupport.h"

#include <QSignalSpy>
#include <QtTest>

class TestLinks : public QObject {
    Q_OBJECT

private slots:
    // Links are written with every reserved character encoded and read back the same.
    void linksRoundTrip()
    {
        const QString odd = QStringLiteral("a&b=c #1 +ü/?");
        auto run = LibraryLinks::parse(LibraryLinks::runShortcut(odd, odd));
        QVERIFY(run);
        QCOMPARE(run->action, LibraryLinks::Link::Action::runShortcut);
        QCOMPARE(run->shortcut, odd);
        QCOMPARE(run->input, std::optional<QString>(odd));
        auto open = LibraryLinks::parse(
            LibraryLinks::openSection(LibrarySection::folder(QStringLiteral("U-1"))));
        QVERIFY(open);
        QCOMPARE(open->section, QStringLiteral("folder:U-1"));
        const auto byName =
            LibraryLinks::parse(QUrl(QStringLiteral("thimblecraft://run?name=Lights")));
        QVERIFY(byName);
        QCOMPARE(byName->shortcut, QStringLiteral("name:Lights"));
        for (const char *bad :
             {"thimblecraft://run", "thimblecraft://run?shortcut=A&shortcut=B",
              "thimblecraft://run?shortcut=A&name=B", "thimblecraft://open?section=nowhere",
              "thimblecraft://open/deeper?section=all", "thimblecraft://delete?shortcut=A",
              "other://open?section=all", "thimblecraft://open?section=all&shortcut=A"})
            QVERIFY2(!LibraryLinks::parse(QUrl(QString::fromLatin1(bad))), bad);
    }

    void openAndRun()
    {
        WindowFixture f;
        auto &echo = f.add(QStringLiteral("ID-Echo"), QStringLiteral("Echo"));
        echo.run.outputs = {QStringLiteral("got {input}")};
        f.publish();
        f.sync();
        LibraryWindow &window = f.open();
        auto *folder = f.context->insert(new LibraryFolder(QStringLiteral("Work")));
        LinkRouter links(window);
        QList<std::pair<QString, std::optional<QString>>> asked;
        bool answer = false;
        links.setConfirmation([&](const QString &name, const std::optional<QString> &input) {
            asked.append({name, input});
            return answer;
        });
        QSignalSpy ignored(&links, &LinkRouter::linkIgnored);

        links.open(LibraryLinks::openSection(LibrarySection::folder(folder->uuid())).toString());
        QCOMPARE(f.navigation->section(), std::optional(LibrarySection::folder(folder->uuid())));
        links.open(QStringLiteral("thimblecraft://open?section=folder:Work"));
        QCOMPARE(f.navigation->section(), std::optional(LibrarySection::folder(folder->uuid())));
        ShortcutItem *item = f.item(QStringLiteral("Echo"));
        links.open(LibraryLinks::openShortcut(QStringLiteral("ID-Echo")).toString());
        QCOMPARE(f.navigation->selectedShortcut(), item);
        QCOMPARE(f.navigation->section(), std::optional(LibrarySection::all()));

        // Asked first; a "no" runs nothing, a "yes" runs with the link's input.
        WindowSettings::shared().setLinksRunWithoutAsking(false);
        links.open(
            LibraryLinks::runShortcut(QStringLiteral("ID-Echo"), QStringLiteral("hi")).toString());
        QCOMPARE(asked.size(), 1);
        QCOMPARE(asked[0].first, QStringLiteral("Echo"));
        QCOMPARE(asked[0].second, std::optional<QString>(QStringLiteral("hi")));
        QCOMPARE(item->runCount(), 0);
        answer = true;
        links.open(
            LibraryLinks::runShortcut(QStringLiteral("ID-Echo"), QStringLiteral("hi")).toString());
        QCOMPARE(item->runCount(), 1);
        QTRY_COMPARE(f.runner->latestOutcome() ? f.runner->latestOutcome()->output
                                               : std::optional<QString>(),
                     std::optional<QString>(QStringLiteral("got hi")));

        // With the setting on nobody is asked.
        WindowSettings::shared().setLinksRunWithoutAsking(true);
        links.open(QStringLiteral("thimblecraft://run?name=Echo"));
        QCOMPARE(asked.size(), 2);
        QCOMPARE(item->runCount(), 2);
        WindowSettings::shared().setLinksRunWithoutAsking(false);

        // Set aside with a notice, never acted on.
        for (const char *bad : {"thimblecraft://run?shortcut=NOPE", "thimblecraft://frobnicate",
                                "thimblecraft://open?shortcut="})
            links.open(QString::fromLatin1(bad));
        QCOMPARE(ignored.size(), 3);
        QCOMPARE(item->runCount(), 2);
    }
};

QTEST_MAIN(TestLinks)
#include "tst_links.moc"
