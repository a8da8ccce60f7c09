// process(imageData:) on arbitrary bytes: no value or a well-formed result, never a crash.
#include "shortcuts/IconProcessing.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const auto result = IconProcessing::process(bytes);
    if (result &&
        (result->glyphPNG.isEmpty() || result->topHex.size() != 7 || result->bottomHex.size() != 7))
        std::abort();
    return 0;
}
