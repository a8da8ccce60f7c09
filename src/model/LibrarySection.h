#pragma once

#include <QHashFunctions>
#include <QString>
#include <optional>

// What the sidebar selects. Records are named by uuid (a Shortcuts-app folder by its name), so
// a section stays valid after its record is deleted; it then yields nothing.
struct LibrarySection {
    enum class Case {
        all,
        favorites,
        recent,
        unfiled,
        untagged,
        missing,
        folder,
        tag,
        smartList,
        nativeFolder,
        health,
    };

    Case kind = Case::all;
    // The folder, tag or smart list uuid, or the Shortcuts-app folder name; empty otherwise.
    QString value;

    static LibrarySection all() { return {Case::all, {}}; }
    static LibrarySection favorites() { return {Case::favorites, {}}; }
    static LibrarySection recent() { return {Case::recent, {}}; }
    static LibrarySection unfiled() { return {Case::unfiled, {}}; }
    static LibrarySection untagged() { return {Case::untagged, {}}; }
    static LibrarySection missing() { return {Case::missing, {}}; }
    static LibrarySection folder(const QString &uuid) { return {Case::folder, uuid}; }
    static LibrarySection tag(const QString &uuid) { return {Case::tag, uuid}; }
    static LibrarySection smartList(const QString &uuid) { return {Case::smartList, uuid}; }
    static LibrarySection nativeFolder(const QString &name) { return {Case::nativeFolder, name}; }
    // The library's health report: no shortcuts of its own.
    static LibrarySection health() { return {Case::health, {}}; }

    bool operator==(const LibrarySection &) const = default;

    // The command line's form: all, favorites, recent, unfiled, untagged, missing, folder:UUID,
    // tag:UUID, smart:UUID, native:NAME (NAME may be empty: shortcuts outside every folder),
    // health.
    QString toText() const;
    static std::optional<LibrarySection> fromText(const QString &text);
};

size_t qHash(const LibrarySection &section, size_t seed = 0);
