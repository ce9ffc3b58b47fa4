#include "views/DWTextContrast.h"

#include <QPalette>
#include <algorithm>
#include <cmath>

namespace {
double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

QColor mix(const QColor& from, const QColor& to, double amount) {
    const auto channel = [amount](double a, double b) { return a + (b - a) * amount; };
    return QColor::fromRgbF(float(channel(from.redF(), to.redF())),
                            float(channel(from.greenF(), to.greenF())),
                            float(channel(from.blueF(), to.blueF())));
}
} // namespace

double DWTextContrast::relativeLuminance(const QColor& color) {
    const QColor rgb = color.toRgb();
    return 0.2126 * linear(rgb.redF()) + 0.7152 * linear(rgb.greenF()) +
           0.0722 * linear(rgb.blueF());
}

double DWTextContrast::contrastRatio(const QColor& first, const QColor& second) {
    const double a = relativeLuminance(first);
    const double b = relativeLuminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

QColor DWTextContrast::dimmedText(const QColor& text, const QColor& background,
                                  double minimumRatio) {
    if (contrastRatio(text, background) <= minimumRatio)
        return text;
    // The ratio falls steadily as the text nears the background.
    double readable = 0.0;
    double unreadable = 1.0;
    for (int step = 0; step < 20; ++step) {
        const double amount = (readable + unreadable) / 2;
        if (contrastRatio(mix(text, background, amount), background) >= minimumRatio)
            readable = amount;
        else
            unreadable = amount;
    }
    // Rounded to 8-bit channels, it must still read.
    QColor dimmed = mix(text, background, readable).toRgb();
    while (readable > 0 && contrastRatio(dimmed, background) < minimumRatio) {
        readable = std::max(0.0, readable - 0.01);
        dimmed = mix(text, background, readable).toRgb();
    }
    return dimmed;
}

QPalette DWTextContrast::withReadableDisabledText(QPalette palette, double minimumRatio) {
    const struct {
        QPalette::ColorRole text, background;
    } pairs[] = {{QPalette::WindowText, QPalette::Window},
                 {QPalette::Text, QPalette::Base},
                 {QPalette::ButtonText, QPalette::Button}};
    for (const auto& pair : pairs) {
        const QColor background = palette.color(QPalette::Disabled, pair.background);
        const QColor disabled = palette.color(QPalette::Disabled, pair.text);
        if (contrastRatio(disabled, background) >= minimumRatio)
            continue;
        palette.setColor(
            QPalette::Disabled, pair.text,
            dimmedText(palette.color(QPalette::Active, pair.text), background, minimumRatio));
    }
    return palette;
}
