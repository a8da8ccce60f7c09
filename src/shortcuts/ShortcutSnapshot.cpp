#include "shortcuts/ShortcutSnapshot.h"

namespace {
template<typename T> size_t hashOptional(const std::optional<T> &v, size_t seed)
{
    return v ? qHashMulti(seed, true, *v) : qHash(false, seed);
}
} // namespace

size_t qHash(const ShortcutSnapshot &s, size_t seed)
{
    seed = qHashMulti(seed, s.identifier, s.name, s.subtitle, s.colorHex, s.acceptsInput,
                      s.actionCount, s.folderName);
    seed = hashOptional(s.createdAt, seed);
    seed = hashOptional(s.modifiedAt, seed);
    seed = hashOptional(s.iconImageData, seed);
    seed = hashOptional(s.processedIcon, seed);
    return hashOptional(s.libraryOrder, seed);
}
