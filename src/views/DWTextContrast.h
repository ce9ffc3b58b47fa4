#pragma once

#include <QColor>

class QPalette;

// Readable text: contrast ratios as accessibility guidelines define them
// (1:1 to 21:1, from relative luminance), and a dimmed text colour that
// still reads.
class DWTextContrast {
public:
    // Guidelines ask at least this much of body text.
    static constexpr double kMinimumRatio = 4.5;

    static double relativeLuminance(const QColor& color);
    static double contrastRatio(const QColor& first, const QColor& second);
    // `text` moved as far toward `background` as `minimumRatio` allows; the
    // text itself when even that doesn't reach it.
    static QColor dimmedText(const QColor& text, const QColor& background, double minimumRatio);
    // The palette with its disabled texts (window, view and button text)
    // dimmed only so far that they keep `minimumRatio` against their
    // backgrounds: switched-off controls still look switched off, and their
    // words stay readable.
    static QPalette withReadableDisabledText(QPalette palette, double minimumRatio);
};
