#pragma once

#include "model/ImportSummary.h"

#include <QByteArray>
#include <QString>
#include <optional>

class ModelContext;

// The organisation a person builds (folder and tag trees, smart lists, and per shortcut its
// favourite mark, notes, folder, tags and run count) as one versioned JSON document, so that it
// can leave the program and come back. docs/organisation-format.md describes the format.
namespace Organisation {
inline constexpr char formatName[] = "thimblecraft-organisation";
inline constexpr int formatVersion = 1;

// Bounds on what an import reads, so that a hostile file is refused instead of exhausting memory.
inline constexpr qint64 maxDocumentBytes = 64 * 1024 * 1024;
// Levels below the top level, as far as the model's own tree walks go.
inline constexpr int maxTreeDepth = 64;
inline constexpr int maxShortTextLength = 256;     // uuids, colours, symbol names
inline constexpr int maxNameLength = 4096;         // names; identifiers may add "name:"
inline constexpr int maxNotesLength = 1024 * 1024; // characters
inline constexpr int maxRulesBytes = 1024 * 1024;  // one smart list's rules, compact JSON
} // namespace Organisation

enum class ImportMode { apply, dryRun };

// The library's organisation; the same library always gives the same bytes.
QByteArray exportDocument(const ModelContext &context);

// Reads and checks the whole document and matches it against the library before anything is
// touched; then, in apply mode, merges it into the context's records. Nothing is deleted, and
// where the library already has a value it keeps it. The caller saves (one transaction). On any
// problem the answer is nothing, error names the problem, and the context is unchanged; in dry
// run the context is never changed.
std::optional<ImportSummary> importDocument(ModelContext &context, const QByteArray &document,
                                            ImportMode mode, QString *error);
