#include "views/DWShadow.h"

#include <gtest/gtest.h>

// Both ways of blurring (a true kernel for small sigmas, box passes through a
// transposed mask for large ones) must spread a block like a Gaussian: mass
// and centre kept, variance grown by sigma squared alike across and down, on
// a mask that is neither square nor centred.
TEST(Shadow, BlurSpreadsLikeAGaussianInBothDirections) {
    constexpr int width = 140, height = 90, block = 9;
    for (const double sigma : {1.0, 2.0, 2.5, 5.0, 10.0}) {
        DWShadow::Mask mask(size_t(width * height), 0);
        for (int y = 40; y < 40 + block; ++y)
            for (int x = 60; x < 60 + block; ++x)
                mask[size_t(y * width + x)] = 255;
        DWShadow::gaussianBlur(mask, width, height, sigma);
        double mass = 0, sumX = 0, sumY = 0, sumXX = 0, sumYY = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const double v = mask[size_t(y * width + x)];
                mass += v, sumX += v * x, sumY += v * y, sumXX += v * x * x, sumYY += v * y * y;
            }
        const double meanX = sumX / mass, meanY = sumY / mass;
        const double varianceX = sumXX / mass - meanX * meanX;
        const double varianceY = sumYY / mass - meanY * meanY;
        EXPECT_NEAR(mass / (block * block * 255), 1.0, 0.03) << sigma;
        EXPECT_NEAR(meanX, 64, 0.3) << sigma;
        EXPECT_NEAR(meanY, 44, 0.3) << sigma;
        EXPECT_NEAR(varianceX, (block * block - 1) / 12.0 + sigma * sigma,
                    0.12 * sigma * sigma + 0.5)
            << sigma;
        EXPECT_NEAR(varianceY, varianceX, 0.05 * varianceX) << sigma;
    }
    DWShadow::Mask wrongSize(10, 200); // left alone rather than overrun
    DWShadow::gaussianBlur(wrongSize, 5, 5, 3.0);
    EXPECT_EQ(wrongSize, DWShadow::Mask(10, 200));
}
