#include "PaneTestSupport.h"
#include "model/SmartRuleSet.h"
#include "ui/ColorSwatchPicker.h"
#include "ui/FolderEditor.h"
#include "ui/SmartListEditor.h"
#include "ui/SmartRuleRow.h"
#include "ui/SymbolPicker.h"
#include "ui/TagEditor.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QToolButton>

class TestEditors : public QObject, PaneFixture {
    Q_OBJECT
private slots:
    void init() { QVERIFY(openLibrary()); }
    void cleanup() { closeLibrary(); }
    void symbolPicker();
    void colorPicker();
    void folderEditorRules();
    void smartListLiveCount();
    void ruleRowControls_data();
    void ruleRowControls();
    void ruleRowKeepsOperands();
    void smartListSave();
};

void TestEditors::symbolPicker()
{
    SymbolPicker symbols;
    symbols.resize(400, symbols.heightForWidth(400));
    symbols.show();
    QCOMPARE(SymbolPicker::symbols().size(), 50);
    QCOMPARE(SymbolPicker::symbols().first(), QStringLiteral("folder"));
    QCOMPARE(SymbolPicker::symbols().last(), QStringLiteral("flag"));
    // Cells are 32 wide in columns of at least 34 with 6 between: 400 points hold 10.
    QCOMPARE(symbols.cellRect(10).top(), 32 + 6);

    QTest::keyClick(&symbols, Qt::Key_Down); // nothing chosen: the first cell
    QCOMPARE(symbols.symbol(), SymbolPicker::symbols().at(0));
    QTest::keyClick(&symbols, Qt::Key_Up); // at the top edge it stays
    QTest::keyClick(&symbols, Qt::Key_Left);
    QCOMPARE(symbols.symbol(), SymbolPicker::symbols().at(0));
    QTest::keyClick(&symbols, Qt::Key_Down);
    QTest::keyClick(&symbols, Qt::Key_Right);
    QCOMPARE(symbols.symbol(), SymbolPicker::symbols().at(11));
    symbols.setSymbol(SymbolPicker::symbols().at(45));
    QTest::keyClick(&symbols, Qt::Key_Down); // no row below
    QCOMPARE(symbols.symbol(), SymbolPicker::symbols().at(45));
    symbols.setSymbol(SymbolPicker::symbols().last());
    QTest::keyClick(&symbols, Qt::Key_Right);
    QCOMPARE(symbols.symbol(), SymbolPicker::symbols().last());

    QTest::mouseClick(&symbols, Qt::LeftButton, {}, symbols.cellRect(46).center());
    QCOMPARE(symbols.symbol(), QStringLiteral("sparkles"));
    symbols.setSymbol(QStringLiteral("not.in.the.list"));
    QCOMPARE(symbols.symbol(), QStringLiteral("not.in.the.list"));

    QAccessibleInterface *grid = QAccessible::queryAccessibleInterface(&symbols);
    QCOMPARE(grid->childCount(), 50);
    QCOMPARE(grid->child(1)->text(QAccessible::Name), QStringLiteral("folder fill"));
    grid->child(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(symbols.symbol(), QStringLiteral("folder.fill"));
    QVERIFY(grid->child(1)->state().checked);
}

void TestEditors::colorPicker()
{
    ColorSwatchPicker withNone(true);
    withNone.resize(300, withNone.heightForWidth(300));
    withNone.show();
    QCOMPARE(withNone.swatchCount(), 16);
    QCOMPARE(withNone.swatchName(0), QStringLiteral("Default"));
    withNone.setHex(QStringLiteral("#24baf7"));
    QCOMPARE(withNone.swatchName(withNone.checkedIndex()), QStringLiteral("Blue"));

    QAccessibleInterface *swatches = QAccessible::queryAccessibleInterface(&withNone);
    QVERIFY(swatches);
    QCOMPARE(swatches->childCount(), 16);
    QCOMPARE(swatches->child(0)->text(QAccessible::Name), QStringLiteral("Default"));
    QCOMPARE(swatches->child(2)->text(QAccessible::Name), QStringLiteral("Orange"));
    QCOMPARE(swatches->child(8)->text(QAccessible::Name), QStringLiteral("Blue"));
    QCOMPARE(swatches->child(8)->role(), QAccessible::RadioButton);
    QVERIFY(swatches->child(8)->state().checked);
    QVERIFY(!swatches->child(2)->state().checked);
    swatches->child(2)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(withNone.hex(), QStringLiteral("#FF8E73"));
    QCOMPARE(swatches->indexOfChild(swatches->child(2)), 2);

    QTest::mouseClick(&withNone, Qt::LeftButton, {}, withNone.swatchRect(0).center());
    QCOMPARE(withNone.hex(), QString());
    QCOMPARE(withNone.checkedIndex(), 0);
    QTest::mouseClick(&withNone, Qt::LeftButton, {}, withNone.swatchRect(15).center());
    QCOMPARE(withNone.hex(), QStringLiteral("#A49995"));

    ColorSwatchPicker palette(false);
    QCOMPARE(palette.swatchCount(), 15);
    QCOMPARE(palette.swatchName(0), QStringLiteral("Red"));
    palette.setHex(QString());
    QCOMPARE(palette.checkedIndex(), -1);
    // The swatches are one row: Up and Down are the parent's, Left and Right move.
    palette.resize(120, palette.heightForWidth(120));
    palette.setHex(QStringLiteral("#24BAF7"));
    QTest::keyClick(&palette, Qt::Key_Down);
    QCOMPARE(palette.hex(), QStringLiteral("#24BAF7"));
    QTest::keyClick(&palette, Qt::Key_Right);
    QCOMPARE(palette.swatchName(palette.checkedIndex()), QStringLiteral("Navy"));
    palette.setHex(QStringLiteral("#123456"));
    QTest::keyClick(&palette, Qt::Key_Left);
    QCOMPARE(palette.swatchName(palette.checkedIndex()), QStringLiteral("Red"));
}

void TestEditors::folderEditorRules()
{
    auto *a = m_context->insert(new LibraryFolder(QStringLiteral("A")));
    auto *b = m_context->insert(new LibraryFolder(QStringLiteral("B"), a));
    auto *c = m_context->insert(new LibraryFolder(QStringLiteral("C"), b));
    m_context->insert(new LibraryFolder(QStringLiteral("D")));
    a->setSymbolName(QStringLiteral("custom.symbol"));
    m_context->save();

    // Editing A offers neither A nor anything below it as "Inside".
    auto *editor = new FolderEditor(*m_context, FolderEditTarget::edit(a));
    QCOMPARE(PaneTest::itemTexts(editor->parentPicker()), (QStringList{"Top Level", "D"}));
    QCOMPARE(editor->symbolPicker()->symbol(), QStringLiteral("custom.symbol"));
    editor->nameField()->setText(QStringLiteral("   "));
    QVERIFY(!editor->saveButton()->isEnabled());
    editor->saveButton()->click(); // disabled: nothing happens
    QCOMPARE(a->name(), QStringLiteral("A"));
    editor->nameField()->setText(QStringLiteral(" Alpha "));
    editor->parentPicker()->setCurrentIndex(1);
    editor->saveButton()->click();
    QCOMPARE(a->name(), QStringLiteral("Alpha"));
    QCOMPARE(a->parent()->name(), QStringLiteral("D"));
    QCOMPARE(a->symbolName(), QStringLiteral("custom.symbol"));
    delete editor;

    // Editing C offers A and B (its ancestors) but not C itself.
    editor = new FolderEditor(*m_context, FolderEditTarget::edit(c));
    QCOMPARE(editor->parentPicker()->currentText(), QStringLiteral("        B"));
    QCOMPARE(editor->parentPicker()->findText(QStringLiteral("            C")), -1);
    delete editor;

    // A new folder starts blue with the folder symbol; the tint follows the colour.
    editor = new FolderEditor(*m_context, FolderEditTarget::makeNew(b));
    QCOMPARE(editor->colorPicker()->hex(), QStringLiteral("#24BAF7"));
    QCOMPARE(editor->symbolPicker()->symbol(), QStringLiteral("folder"));
    editor->colorPicker()->setHex(QStringLiteral("#F36F74"));
    QCOMPARE(editor->symbolPicker()->tint(), QColor(0xF3, 0x6F, 0x74));
    editor->nameField()->setText(QStringLiteral("New"));
    editor->saveButton()->click();
    delete editor;
    auto stored = reopen();
    LibraryFolder *created = stored->folders().last();
    QCOMPARE(created->name(), QStringLiteral("New"));
    QCOMPARE(created->parent()->name(), QStringLiteral("B"));
    QCOMPARE(created->sortOrder(), qint64(0));
    QCOMPARE(created->colorHex(), QStringLiteral("#F36F74"));
}

void TestEditors::smartListLiveCount()
{
    ShortcutItem *mail = addShortcut(QStringLiteral("Mail Digest"));
    ShortcutItem *photo = addShortcut(QStringLiteral("Photo Backup"));
    ShortcutItem *gone = addShortcut(QStringLiteral("Old Mail"));
    gone->setIsMissing(true);
    mail->setActionCount(5);
    photo->setActionCount(2);
    photo->setIsFavorite(true);
    m_context->save();

    SmartListEditor editor(*m_context, SmartListEditTarget::makeNew());
    QCOMPARE(editor.windowTitle(), QStringLiteral("New Smart List"));
    QCOMPARE(editor.countLabel()->text(), QStringLiteral("2 match"));
    SmartRuleRow *row = editor.ruleRows().first();
    auto *text = row->findChild<QLineEdit *>(QStringLiteral("ruleText"));
    QVERIFY(text);
    QTest::keyClicks(text, QStringLiteral("mail"));
    QCOMPARE(editor.countLabel()->text(), QStringLiteral("1 match"));
    editor.includeMissingToggle()->setChecked(true);
    QCOMPARE(editor.liveCount(), 2);
    editor.includeMissingToggle()->setChecked(false);

    // Switching the field to Favorite keeps the row but tests the flag.
    row->fieldPicker()->setCurrentIndex(row->fieldPicker()->findText(QStringLiteral("Favorite")));
    QCOMPARE(editor.liveCount(), 1);
    auto *flag = row->findChild<QComboBox *>(QStringLiteral("ruleBool"));
    flag->setCurrentIndex(1); // "is off"
    QCOMPARE(editor.liveCount(), 1);
    QCOMPARE(editor.rules().rules.first().boolValue, false);

    // A second rule: all of them, then any of them.
    editor.addRuleButton()->click();
    QCOMPARE(editor.ruleRows().size(), 2);
    SmartRuleRow *second = editor.ruleRows().last();
    second->fieldPicker()->setCurrentIndex(
        second->fieldPicker()->findText(QStringLiteral("Action Count")));
    auto *number = second->findChild<QSpinBox *>(QStringLiteral("ruleNumber"));
    number->setValue(3);
    QCOMPARE(editor.liveCount(), 1); // not favourite and more than 3 actions: Mail Digest
    editor.matchPicker()->setCurrentIndex(1);
    QCOMPARE(editor.liveCount(), 1);
    number->setValue(1);
    QCOMPARE(editor.liveCount(), 2);

    // Deleting every rule leaves the present shortcuts.
    editor.ruleRows().first()->deleteButton()->click();
    editor.ruleRows().last()->deleteButton()->click();
    QTRY_COMPARE(editor.ruleRows().size(), 0);
    QVERIFY(editor.rules().rules.isEmpty());
    QCOMPARE(editor.countLabel()->text(), QStringLiteral("2 match"));

    // The count follows the library too.
    addShortcut(QStringLiteral("Third"));
    PaneTest::settle();
    QCOMPARE(editor.liveCount(), 3);
}

void TestEditors::ruleRowControls_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QStringList>("controls");
    QTest::addColumn<QStringList>("firstChoices");
    QTest::newRow("text") << "Notes" << QStringList{"ruleTextOp", "ruleText"}
                          << QStringList{"contains", "does not contain", "is", "begins with",
                                         "ends with"};
    QTest::newRow("number") << "Run Count" << QStringList{"ruleNumberOp", "ruleNumber"}
                            << QStringList{"is", "is greater than", "is less than"};
    QTest::newRow("date") << "Date Added" << QStringList{"ruleDateOp", "ruleDays"}
                          << QStringList{"in the last", "not in the last"};
    QTest::newRow("lastRun") << "Last Run" << QStringList{"ruleDateOp", "ruleDays"}
                             << QStringList{"in the last", "not in the last", "never"};
    QTest::newRow("flag") << "Accepts Input" << QStringList{"ruleBool"}
                          << QStringList{"is on", "is off"};
    QTest::newRow("missing") << "Missing from Shortcuts" << QStringList{"ruleBool"}
                             << QStringList{"is missing", "is present"};
    QTest::newRow("tag") << "Tag" << QStringList{"ruleBool", "ruleReference"}
                         << QStringList{"has", "does not have"};
    QTest::newRow("folder") << "Folder" << QStringList{"ruleBool", "ruleReference"}
                            << QStringList{"is in", "is not in"};
    QTest::newRow("color") << "Color" << QStringList{"ruleBool", "ruleColor"}
                           << QStringList{"is", "is not"};
}

void TestEditors::ruleRowControls()
{
    QFETCH(QString, field);
    QFETCH(QStringList, controls);
    QFETCH(QStringList, firstChoices);
    auto *home = m_context->insert(new Tag(QStringLiteral("Home"), QString()));
    m_context->insert(new Tag(QStringLiteral("Away"), QString(), home));
    auto *top = m_context->insert(new LibraryFolder(QStringLiteral("Top")));
    m_context->insert(new LibraryFolder(QStringLiteral("Inner"), top));

    SmartRuleRow row(SmartRule(), *m_context);
    QCOMPARE(row.fieldPicker()->count(), 16);
    row.fieldPicker()->setCurrentIndex(row.fieldPicker()->findText(field));
    QStringList present;
    for (QWidget *child : row.findChildren<QWidget *>())
        if (child->objectName().startsWith(QStringLiteral("rule")) &&
            child->objectName() != QStringLiteral("ruleField") &&
            child->objectName() != QStringLiteral("ruleDelete"))
            present.append(child->objectName());
    QCOMPARE(present, controls);
    QCOMPARE(PaneTest::itemTexts(row.findChild<QComboBox *>(controls.first())), firstChoices);

    if (field == QStringLiteral("Tag") || field == QStringLiteral("Folder")) {
        QCOMPARE(PaneTest::itemTexts(row.findChild<QComboBox *>(QStringLiteral("ruleReference"))),
                 field == QStringLiteral("Tag") ? (QStringList{"any tag", "Away", "Home"})
                                                : (QStringList{"any folder", "Top", "    Inner"}));
    }
    if (field == QStringLiteral("Color")) {
        QCOMPARE(row.rule().text, QStringLiteral("Blue"));
        auto *family = row.findChild<QComboBox *>(QStringLiteral("ruleColor"));
        QCOMPARE(family->currentText(), QStringLiteral("Blue"));
        // The closed picker is narrow; its open list shows every name whole ("Orange").
        row.resize(320, row.sizeHint().height());
        row.show();
        family->showPopup();
        QTRY_VERIFY(family->view()->isVisible());
        QVERIFY(family->view()->viewport()->width() >= family->view()->sizeHintForColumn(0));
        family->hidePopup();
    }
    if (field == QStringLiteral("Last Run")) {
        auto *days = row.findChild<QSpinBox *>(QStringLiteral("ruleDays"));
        QCOMPARE(days->suffix(), QStringLiteral(" days"));
        days->setValue(1);
        QCOMPARE(days->suffix(), QStringLiteral(" day"));
        QCOMPARE(days->minimum(), 1);
        QCOMPARE(days->maximum(), 3650);
    }
}

void TestEditors::ruleRowKeepsOperands()
{
    SmartRule rule;
    rule.field = SmartRule::Field::lastRun;
    SmartRuleRow row(rule, *m_context);
    row.show();
    auto *op = row.findChild<QComboBox *>(QStringLiteral("ruleDateOp"));
    op->setCurrentIndex(op->findText(QStringLiteral("never")));
    QVERIFY(row.findChild<QSpinBox *>(QStringLiteral("ruleDays"))->isHidden());
    // Date Added does not offer "never" but keeps it.
    row.fieldPicker()->setCurrentIndex(row.fieldPicker()->findText(QStringLiteral("Date Added")));
    QCOMPARE(row.rule().dateOp, SmartRule::DateOp::never);
    QCOMPARE(row.findChild<QComboBox *>(QStringLiteral("ruleDateOp"))->currentIndex(), -1);
    QVERIFY(row.findChild<QSpinBox *>(QStringLiteral("ruleDays"))->isHidden());
    // A text typed for one text field stays when the field changes to another.
    row.fieldPicker()->setCurrentIndex(0);
    QTest::keyClicks(row.findChild<QLineEdit *>(QStringLiteral("ruleText")), QStringLiteral("x"));
    row.fieldPicker()->setCurrentIndex(row.fieldPicker()->findText(QStringLiteral("Notes")));
    QCOMPARE(row.findChild<QLineEdit *>(QStringLiteral("ruleText"))->text(), QStringLiteral("x"));
    QCOMPARE(row.rule().dateOp, SmartRule::DateOp::never);
}

void TestEditors::smartListSave()
{
    addShortcut(QStringLiteral("One"));
    SmartListEditor *editor = new SmartListEditor(*m_context, SmartListEditTarget::makeNew());
    QVERIFY(!editor->saveButton()->isEnabled());
    editor->nameField()->setText(QStringLiteral(" First "));
    // The order labels follow the sort key.
    QCOMPARE(editor->orderPicker()->itemText(0), QStringLiteral("As in Shortcuts"));
    editor->sortPicker()->setCurrentIndex(1);
    QCOMPARE(editor->orderPicker()->itemText(1), QStringLiteral("Z to A"));
    editor->sortPicker()->setCurrentIndex(2);
    QCOMPARE(editor->orderPicker()->itemText(0), QStringLiteral("Oldest First"));
    editor->orderPicker()->setCurrentIndex(1);
    editor->ruleRows().first()->fieldPicker()->setCurrentIndex(13); // Color
    editor->saveButton()->click();
    delete editor;
    QCOMPARE(m_context->smartLists().size(), 1);
    SmartList *first = m_context->smartLists().first();
    QCOMPARE(first->name(), QStringLiteral("First"));
    QCOMPARE(first->sortOrder(), qint64(0));
    QCOMPARE(first->symbolName(), QStringLiteral("sparkles"));
    QCOMPARE(first->colorHex(), QStringLiteral("#AF52DE"));
    const SmartRuleSet saved = first->ruleSet();
    QCOMPARE(saved.sort, ShortcutSort::dateAdded);
    QCOMPARE(saved.ascending, false);
    QCOMPARE(saved.rules.first().field, SmartRule::Field::color);
    QCOMPARE(saved.rules.first().text, QStringLiteral("Blue"));

    editor = new SmartListEditor(*m_context, SmartListEditTarget::makeNew());
    editor->nameField()->setText(QStringLiteral("Second"));
    editor->saveButton()->click();
    delete editor;
    QCOMPARE(m_context->smartLists().last()->sortOrder(), qint64(1));

    // An unreadable list opens with the default rules and saves them.
    first->setRulesData(QByteArray("{not json"));
    m_context->save();
    editor = new SmartListEditor(*m_context, SmartListEditTarget::edit(first));
    QCOMPARE(editor->windowTitle(), QStringLiteral("Edit Smart List"));
    QCOMPARE(editor->rules().rules.size(), 1);
    QCOMPARE(editor->nameField()->text(), QStringLiteral("First"));
    editor->saveButton()->click();
    delete editor;
    auto stored = reopen();
    QVERIFY(SmartRuleSet::decodedIfValid(stored->smartLists().first()->rulesData()));
}

QTEST_MAIN(TestEditors)
#include "tst_editors.moc"
