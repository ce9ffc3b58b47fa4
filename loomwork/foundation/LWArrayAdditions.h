#pragma once

#include <QList>
#include <QStringList>
#include <optional>
#include <type_traits>

// Additions to arrays: bounds-safe and rotating access, and mapping.
namespace lw {
template <typename T>
std::optional<T> boundsSafeObjectAtIndex(const QList<T>& array, qsizetype index) {
    if (index < 0 || index >= array.size())
        return std::nullopt;
    return array.at(index);
}

// The element after the first one equal to `element`; after the last one the
// first when rotating. Nothing when `element` is missing or not in the array.
template <typename T>
std::optional<T> objectAfter(const QList<T>& array, const std::optional<T>& element, bool rotate) {
    if (!element || array.isEmpty())
        return std::nullopt;
    const qsizetype index = array.indexOf(*element);
    if (index < 0)
        return std::nullopt;
    if (index + 1 < array.size())
        return array.at(index + 1);
    return rotate ? std::optional<T>(array.first()) : std::nullopt;
}

// The element before the first one equal to `element`; before the first one
// the last when rotating.
template <typename T>
std::optional<T> objectBefore(const QList<T>& array, const std::optional<T>& element, bool rotate) {
    if (!element || array.isEmpty())
        return std::nullopt;
    const qsizetype index = array.indexOf(*element);
    if (index < 0)
        return std::nullopt;
    if (index > 0)
        return array.at(index - 1);
    return rotate ? std::optional<T>(array.last()) : std::nullopt;
}

// Each string trimmed of white space and line breaks; empty ones dropped.
QStringList arrayByTrimmingStringsAndRemovingEmptyOnes(const QStringList& array);

// The callback's results in element order, without the elements for which it
// gave nothing (std::nullopt).
template <typename T, typename F>
auto map(const QList<T>& array, F&& callback)
    -> QList<typename std::invoke_result_t<F&, const T&>::value_type> {
    using Result = typename std::invoke_result_t<F&, const T&>::value_type;
    QList<Result> results;
    if (array.isEmpty())
        return results;
    results.reserve(array.size());
    for (const T& element : array) {
        if (auto mapped = callback(element))
            results.append(std::move(*mapped));
    }
    return results;
}
} // namespace lw
