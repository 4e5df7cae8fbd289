#pragma once
/**
 * Smooth noise over the plane, the same for the same seed on every machine.
 */
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

// One step of xorshift; state never 0.
inline std::uint32_t nextRandom(std::uint32_t& state)
{
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

// Whole number at or below x, for places within some millions.
inline std::int32_t wholeBelow(float x)
{
    const auto whole = static_cast<std::int32_t>(x);
    return whole - (static_cast<float>(whole) > x ? 1 : 0);
}

// Gradient noise: about -1 to 1, 0 at whole numbers, period 256.
class Noise {
public:
    explicit Noise(std::uint32_t seed)
    {
        for (std::size_t i = 0; i < order_.size(); ++i)
            order_[i] = static_cast<std::uint8_t>(i);
        std::uint32_t state = seed * 2654435761U + 1;
        for (std::size_t i = order_.size() - 1; i > 0; --i)
            std::swap(order_[i], order_[nextRandom(state) % (i + 1)]);
        for (std::size_t i = 0; i < gradients_.size(); ++i) {
            const float turn =
                static_cast<float>(i) * (6.2831853F / static_cast<float>(gradients_.size()));
            gradients_[i] = {std::cos(turn) * 1.45F, std::sin(turn) * 1.45F};
        }
    }

    float operator()(float x, float y) const
    {
        const std::int32_t column = wholeBelow(x);
        const std::int32_t row = wholeBelow(y);
        const auto ix = static_cast<std::uint32_t>(column) & 255U;
        const auto iy = static_cast<std::uint32_t>(row) & 255U;
        const float fx = x - static_cast<float>(column);
        const float fy = y - static_cast<float>(row);
        const float sx = fx * fx * fx * (fx * (fx * 6 - 15) + 10);
        const float sy = fy * fy * fy * (fy * (fy * 6 - 15) + 10);
        const float above = mix(slope(ix, iy, fx, fy), slope(ix + 1, iy, fx - 1, fy), sx);
        const float below =
            mix(slope(ix, iy + 1, fx, fy - 1), slope(ix + 1, iy + 1, fx - 1, fy - 1), sx);
        return mix(above, below, sy);
    }

    // Sum of octaves, each of half the size and `gain` of the height, turned against the last.
    float octaves(float x, float y, int count, float gain = 0.5F) const
    {
        float sum = 0;
        float height = 1;
        for (int i = 0; i < count; ++i) {
            sum += height * (*this)(x, y);
            const float turned = 1.6F * x - 1.2F * y + 17.3F;
            y = 1.2F * x + 1.6F * y + 5.7F;
            x = turned;
            height *= gain;
        }
        return sum;
    }

    // The same of the noise's size turned over: rounded heaps with sharp valleys, 0 to about 1.
    float heaps(float x, float y, int count) const
    {
        float sum = 0;
        float height = 1;
        for (int i = 0; i < count; ++i) {
            sum += height * std::fabs((*this)(x, y));
            const float turned = 1.6F * x - 1.2F * y + 31.1F;
            y = 1.2F * x + 1.6F * y + 9.2F;
            x = turned;
            height *= 0.55F;
        }
        return sum;
    }

private:
    static float mix(float a, float b, float part) { return a + part * (b - a); }
    float slope(std::uint32_t ix, std::uint32_t iy, float fx, float fy) const
    {
        const std::uint32_t index = order_[(ix + order_[iy & 255U]) & 255U] & 31U;
        return gradients_[index][0] * fx + gradients_[index][1] * fy;
    }

    std::array<std::uint8_t, 256> order_{};
    std::array<std::array<float, 2>, 32> gradients_{};
};
