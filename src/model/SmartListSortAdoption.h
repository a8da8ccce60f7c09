#pragma once

#include "model/LibrarySection.h"

#include <optional>

class ModelContext;

// Copies a smart list's own sort into "sortKey" and "sortAscending" when the collection moves
// to that list. The section the collection is first shown with adopts nothing, and later
// changes of the sort are not written back to the list.
class SmartListSortAdoption {
public:
    explicit SmartListSortAdoption(const ModelContext &context) : m_context(context) {}
    // Call with every section the collection shows. True when the settings were written.
    bool sectionShown(const LibrarySection &section);

private:
    const ModelContext &m_context;
    std::optional<LibrarySection> m_shown;
};
