#pragma once

class LibraryWindow;
class QAction;
class QMenu;

// File › "Export Organisation…" and "Import Organisation…": the organisation to and from a file
// chosen in a dialog; an import shows what it will change and asks before it merges.
void addOrganisationCommands(QMenu *fileMenu, LibraryWindow &window, QAction **exportAction,
                             QAction **importAction);
