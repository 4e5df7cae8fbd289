#pragma once
/**
 * Typed, bounds-checked reading of a block of bytes.
 */
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

enum class NbByteOrder { Little, Big };

inline constexpr NbByteOrder nbCpuByteOrder =
    std::endian::native == std::endian::big ? NbByteOrder::Big : NbByteOrder::Little;

/**
 * Walks over a block of file bytes in one byte order. Reading past the end gives zeros and
 * leaves the cursor bad for good, so a block needs one test of ok() at its end.
 */
class NbCursor {
public:
    NbCursor(std::span<const std::byte> block, NbByteOrder order) : data_(block), order_(order) {}

    bool ok() const { return ok_; }
    std::size_t position() const { return at_; }
    std::size_t remaining() const { return data_.size() - at_; }

    void skip(std::size_t n)
    {
        if (take(n)) at_ += n;
    }
    void seek(std::size_t position)
    {
        ok_ = ok_ && position <= data_.size();
        if (ok_) at_ = position;
    }

    // One number of the file's width and kind, brought into the machine's order.
    template <class T>
    requires(std::integral<T> || std::floating_point<T>) T get()
    {
        if (!take(sizeof(T))) return T{};
        std::byte bytes[sizeof(T)];
        std::memcpy(bytes, data_.data() + at_, sizeof(T));
        at_ += sizeof(T);
        if (order_ != nbCpuByteOrder)
            for (std::size_t i = 0; i < sizeof(T) / 2; ++i)
                std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
        T value;
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    // A field of n bytes as it stands; empty past the end.
    std::span<const std::byte> bytes(std::size_t n)
    {
        if (!take(n)) return {};
        const auto field = data_.subspan(at_, n);
        at_ += n;
        return field;
    }

    // A text field of n bytes up to its first NUL. Points into the block.
    std::string_view text(std::size_t n)
    {
        const auto field = bytes(n);
        const std::string_view all(reinterpret_cast<const char*>(field.data()), field.size());
        return all.substr(0, all.find('\0'));
    }

private:
    bool take(std::size_t n)
    {
        ok_ = ok_ && n <= remaining();
        return ok_;
    }

    std::span<const std::byte> data_;
    std::size_t at_ = 0;
    NbByteOrder order_;
    bool ok_ = true;
};
