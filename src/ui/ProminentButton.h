#pragma once

#include <QPushButton>

// The one prominent (accent-filled) button of a pane: "Run Shortcut", "Sync with Shortcuts".
namespace ProminentButton {
void apply(QPushButton *button);
} // namespace ProminentButton
