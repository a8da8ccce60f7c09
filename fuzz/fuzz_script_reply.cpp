// Feeds arbitrary osascript output through the source-form reader and every reply decoder the
// bridge applies to it: none may crash, hang or read out of bounds.
#include "shortcuts/ScriptReplyParser.h"
#include "shortcuts/ShortcutsEventsBridge.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const auto reply = ScriptReplyParser::parse(bytes);
    if (!reply)
        return 0;
    const auto list = ShortcutsEventsBridge::decodeShortcutList(*reply);
    if (list) {
        for (const ShortcutSnapshot &s : list.value())
            (void)qHash(s);
    }
    (void)ShortcutsEventsBridge::decodeOutput(*reply);
    (void)ShortcutsEventsBridge::decodeColor(*reply);
    for (int i = 1; i <= reply->numberOfItems() && i <= 16; ++i)
        (void)ShortcutsEventsBridge::decodeColor(reply->descriptorAtIndex(i));
    (void)reply->toSourceForm();
    return 0;
}
