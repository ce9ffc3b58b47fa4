#include "FuzzInput.h"
#include "foundation/LWStringAdditions.h"

#include <QStringList>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString input = fuzzText(data, size);
    const QStringList components = lw::splitIntoURLComponents(input);
    const bool oneSeparator =
        input.count(QStringLiteral("://")) == 1 && input.split(QStringLiteral("://")).size() == 2;
    if (components.isEmpty()) {
        if (oneSeparator)
            std::abort();
        return 0;
    }
    // The pieces put back together give the text again.
    if (components.size() < 2 ||
        components.first() + QStringLiteral("://") + components.mid(1).join(u'/') != input)
        std::abort();
    return 0;
}
