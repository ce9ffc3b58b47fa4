#pragma once

#include <QVariant>

namespace lw {
// `defaultValue` when `value` is missing (invalid), a string that is empty
// after trimming white space and line breaks, or a list without elements;
// otherwise `value` itself, untrimmed.
QVariant useValueIfNotEmpty(const QVariant& value, const QVariant& defaultValue);
} // namespace lw
