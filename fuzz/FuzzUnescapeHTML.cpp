#include "FuzzInput.h"
#include "foundation/LWStringAdditions.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString input = fuzzText(data, size);
    const QString output = lw::stringByUnescapingHTML(input);
    // Decoding only ever shortens the text, and text without "&" is returned
    // as it is.
    if (output.size() > input.size())
        std::abort();
    if (!input.contains(u'&') && output != input)
        std::abort();
    return 0;
}
