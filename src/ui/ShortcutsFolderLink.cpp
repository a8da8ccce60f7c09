#include "ui/ShortcutsFolderLink.h"

#include "model/AppSettings.h"
#include "shortcuts/ShortcutsDatabase.h"
#include "ui/PlainText.h"

#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QSettings>

ShortcutsFolderLink &ShortcutsFolderLink::shared()
{
    static ShortcutsFolderLink link;
    return link;
}

bool ShortcutsFolderLink::choose(QWidget *parent)
{
    QSettings &settings = AppSettings::store();
    const QLatin1String key(ShortcutsDatabase::bookmarkKey);
    const QVariant before = settings.value(key);
    if (!ShortcutsDatabase::chooseShortcutsFolder())
        return false; // cancelled
    const QString chosen = ShortcutsDatabase::linkedFolder().value_or(QString());
    if (QFileInfo(QDir(chosen).filePath(QStringLiteral("Shortcuts.sqlite"))).isFile()) {
        emit linked();
        return true;
    }
    // The chooser itself takes any folder; from the window, a folder without the database
    // would stay linked for good and give nothing, so the earlier link is put back.
    if (before.isValid())
        settings.setValue(key, before);
    else
        settings.remove(key);
    settings.sync();
    const QString withoutDatabase = chosen;
    auto *box = new QMessageBox(QMessageBox::Warning, QStringLiteral("No Shortcuts Database"),
                                QStringLiteral("No Shortcuts Database"), QMessageBox::Ok, parent);
    box->setObjectName(QStringLiteral("noShortcutsDatabaseAlert"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    PlainText::setInformativeText(
        box, QStringLiteral("“%1” holds no Shortcuts.sqlite, so it was not linked. Choose the "
                            "Shortcuts folder that holds it.")
                 .arg(QDir::toNativeSeparators(withoutDatabase)));
    box->open();
    return false;
}
