#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

// What in a shortcut's name gets in the way of scripts and links: a name is typed between
// double quotes in AppleScript and shell lines, and carried in links and file names.
namespace NameHazards {
enum Hazard : unsigned {
    blank = 1u << 0, // nothing left after trimming
    leadingSpace = 1u << 1,
    trailingSpace = 1u << 2,
    lineBreak = 1u << 3,
    controlCharacter = 1u << 4, // control and direction-changing characters, tabs included
    doubleQuote = 1u << 5,
    backslash = 1u << 6,
};

// The hazards of a name, or 0.
unsigned of(QStringView name);
// "starts with a space", "has a line break", … in the order of the flags.
QStringList describe(unsigned hazards);
} // namespace NameHazards
