#pragma once

#include <QUrl>

class QMenu;

// "Copy Link" in a context menu: the record's thimblecraft: link on the clipboard, as text and
// as a URL, for notes, launchers and scripts.
void addCopyLinkAction(QMenu *menu, const QUrl &link);
