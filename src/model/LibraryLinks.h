#pragma once

#include "model/LibrarySection.h"

#include <QString>
#include <QUrl>
#include <optional>

// The program's own links: thimblecraft://open?section=… or ?shortcut=IDENTIFIER, and
// thimblecraft://run?shortcut=IDENTIFIER[&input=…] (name=NAME instead of shortcut=). Anyone may
// write one, so reading them is strict and says no rather than guess.
namespace LibraryLinks {
QUrl openSection(const LibrarySection &section);
QUrl openShortcut(const QString &identifier);
QUrl runShortcut(const QString &identifier, const std::optional<QString> &input = std::nullopt);

struct Link {
    enum class Action { openSection, openShortcut, runShortcut };
    Action action = Action::openSection;
    QString section;  // the section text (as on the command line) for openSection
    QString shortcut; // an identifier, or "name:" and a name
    std::optional<QString> input;
};
// No value for anything but a well-formed open or run link.
std::optional<Link> parse(const QUrl &url);
} // namespace LibraryLinks
