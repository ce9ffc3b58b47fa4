#include "views/DWShadow.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {
struct Moments {
    double mass = 0, meanX = 0, meanY = 0, varianceX = 0, varianceY = 0;
};

Moments momentsOf(const DWShadow::Mask& mask, int width, int height) {
    Moments m;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double v = mask[size_t(y * width + x)];
            m.mass += v;
            m.meanX += v * x;
            m.meanY += v * y;
        }
    m.meanX /= m.mass;
    m.meanY /= m.mass;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double v = mask[size_t(y * width + x)];
            m.varianceX += v * (x - m.meanX) * (x - m.meanX);
            m.varianceY += v * (y - m.meanY) * (y - m.meanY);
        }
    m.varianceX /= m.mass;
    m.varianceY /= m.mass;
    return m;
}
} // namespace

// Both ways of blurring (a true kernel for small sigmas, box passes through a
// transposed mask for large ones) must spread a block like a Gaussian: mass
// and centre kept, variance grown by sigma squared, the same across and down,
// on a mask that is neither square nor centred.
TEST(Shadow, BlurSpreadsLikeAGaussianInBothDirections) {
    constexpr int width = 140, height = 90, block = 9;
    const double blockVariance = (block * block - 1) / 12.0;
    for (const double sigma : {1.0, 2.0, 2.5, 5.0, 10.0}) {
        SCOPED_TRACE(sigma);
        DWShadow::Mask mask(size_t(width * height), 0);
        for (int y = 40; y < 40 + block; ++y)
            for (int x = 60; x < 60 + block; ++x)
                mask[size_t(y * width + x)] = 255;
        const Moments before = momentsOf(mask, width, height);
        DWShadow::gaussianBlur(mask, width, height, sigma);
        const Moments after = momentsOf(mask, width, height);

        EXPECT_NEAR(after.mass / before.mass, 1.0, 0.03);
        EXPECT_NEAR(after.meanX, before.meanX, 0.3);
        EXPECT_NEAR(after.meanY, before.meanY, 0.3);
        EXPECT_NEAR(after.varianceX, blockVariance + sigma * sigma, 0.12 * sigma * sigma + 0.5);
        EXPECT_NEAR(after.varianceY, after.varianceX, 0.05 * after.varianceX);
    }

    // A mask that does not match its size is left alone rather than overrun.
    DWShadow::Mask wrong(10, 200);
    DWShadow::gaussianBlur(wrong, 5, 5, 3.0);
    EXPECT_EQ(wrong, DWShadow::Mask(10, 200));
}
