#pragma once
/**
 * What the synthesisers share: numbers in a file's byte order, and damage to the finished file.
 */
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Overwrites bytes of the finished file.
struct SynthPatch {
    std::size_t offset = 0; // from the start of the block
    std::vector<std::byte> bytes = {};
    int block = 0; // as the format numbers them; 0 the whole file
};

// Patches a file of which `startOf` tells where a block begins, then cuts it.
inline void synthDamage(std::vector<std::byte>& file, std::span<const SynthPatch> patches,
                        std::size_t cutAt, const std::function<std::size_t(int)>& startOf = {})
{
    for (const SynthPatch& patch : patches) {
        const std::size_t start = patch.block == 0 ? 0 : startOf(patch.block);
        const std::size_t at = std::min(start + patch.offset, file.size());
        const std::size_t n = std::min(patch.bytes.size(), file.size() - at);
        std::copy_n(patch.bytes.begin(), n, file.begin() + static_cast<std::ptrdiff_t>(at));
    }
    file.resize(std::min(cutAt, file.size()));
}

// A file that is written piece by piece.
class SynthFile {
public:
    explicit SynthFile(const std::string& path)
        : path_(path), file_(std::fopen(path.c_str(), "wb"), std::fclose)
    {
        check(file_ != nullptr);
    }
    void operator()(std::span<const std::byte> piece) const
    {
        check(std::fwrite(piece.data(), 1, piece.size(), file_.get()) == piece.size());
    }

private:
    void check(bool good) const
    {
        if (!good) throw std::runtime_error("cannot write " + path_);
    }
    std::string path_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

// Collects numbers in the file's byte order.
class SynthBlock {
public:
    explicit SynthBlock(bool bigEndian)
        : swap_(bigEndian != (std::endian::native == std::endian::big))
    {
    }

    SynthBlock& u8(std::int64_t value) { return number(static_cast<std::uint8_t>(value)); }
    SynthBlock& u16(std::int64_t value) { return number(static_cast<std::uint16_t>(value)); }
    SynthBlock& u32(std::int64_t value) { return number(static_cast<std::uint32_t>(value)); }
    SynthBlock& f32(float value) { return number(value); }
    SynthBlock& f64(double value) { return number(value); }
    SynthBlock& f64s(const double* values, std::size_t n)
    {
        for (std::size_t i = 0; i < n; ++i)
            f64(values[i]);
        return *this;
    }
    SynthBlock& text(std::string_view value, std::size_t width)
    {
        for (std::size_t i = 0; i < width; ++i)
            bytes.push_back(i < value.size() ? static_cast<std::byte>(value[i]) : std::byte{0});
        return *this;
    }
    SynthBlock& spare(std::size_t width) { return text("", width); }

    std::vector<std::byte> bytes;

private:
    template <class T>
    SynthBlock& number(T value)
    {
        std::byte raw[sizeof(T)];
        std::memcpy(raw, &value, sizeof(T));
        if (swap_) std::reverse(std::begin(raw), std::end(raw));
        for (const std::byte b : raw)
            bytes.push_back(b);
        return *this;
    }
    bool swap_;
};
