#pragma once
/**
 * The lines of a raster that is read on demand: 16-bit counts, kept until the file closes, with
 * one state byte a line. What the states mean is the driver's.
 */
#include "util/nbLargePages.h"
#include "util/nbUtlFreer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

class NbLineCache {
public:
    // Empties the cache and gives it a size. Throws when memory is out.
    void reset(int lines, int columns)
    {
        view_.assign(static_cast<std::size_t>(lines), nullptr);
        owned_.assign(static_cast<std::size_t>(lines), nullptr);
        pieces_.clear();
        pieces_.reserve(static_cast<std::size_t>(lines)); // add throws nothing
        next_ = nullptr;
        room_ = 0;
        made_ = 0;
        state_.assign(static_cast<std::size_t>(lines), 0);
        zeros_.assign(static_cast<std::size_t>(columns), 0);
    }

    int lines() const { return static_cast<int>(view_.size()); }
    int columns() const { return static_cast<int>(zeros_.size()); }

    std::uint8_t state(int n) const { return state_[static_cast<std::size_t>(n)]; }
    void setState(int n, std::uint8_t state) { state_[static_cast<std::size_t>(n)] = state; }

    // The counts of a line; null when it is not in memory.
    std::uint16_t* line(int n) const { return view_[static_cast<std::size_t>(n)]; }

    // Room for a line, its counts not set; null when memory is out, which is logged with the
    // caller's name.
    std::uint16_t* add(int n, const char* caller)
    {
        const auto i = static_cast<std::size_t>(n);
        if (owned_[i] == nullptr) {
            if (room_ == 0 && !addPiece(caller)) return nullptr;
            owned_[i] = next_;
            next_ += zeros_.size();
            --room_;
        }
        view_[i] = owned_[i];
        return view_[i];
    }

    // A line of zeros. All such lines are one piece of memory, so that a short file needs no
    // more than its own size; nobody may write to it.
    void useZeros(int n)
    {
        const auto i = static_cast<std::size_t>(n);
        if (owned_[i] != nullptr && owned_[i] + zeros_.size() == next_) {
            next_ = owned_[i]; // the room that was added last goes back
            ++room_;
            owned_[i] = nullptr;
        }
        view_[i] = zeros_.data();
    }

private:
    using Piece = std::unique_ptr<std::byte[], NbUtlFreer>;
#ifdef NIMBEX_CHECKED
    static constexpr bool apart = true;
#else
    static constexpr bool apart = false;
#endif

    // Lines lie together in pieces, a small one first and then as large ones as a file asks for:
    // the system gives memory in large pages then, and only as it is used, and a few lines of an
    // image take little. A build with checks keeps each line apart, so that a step over its end is
    // seen.
    bool addPiece(const char* caller)
    {
        constexpr std::size_t first = std::size_t{256} << 10; // bytes
        constexpr std::size_t further = std::size_t{32} << 20;
        const std::size_t size = std::max<std::size_t>(zeros_.size(), 1) * sizeof(std::uint16_t);
        // A line takes one place and keeps it, so there are no more places than lines.
        const std::size_t wanted = apart ? 1 : (made_ == 0 ? first : further) / size;
        const std::size_t lines = std::clamp<std::size_t>(wanted, 1, owned_.size() - made_);
        const bool isLarge = lines * size > nbpLargePage;
        Piece piece(static_cast<std::byte*>(
            nbUtlMalloc(lines * size + (isLarge ? 2 * nbpLargePage : 0), caller)));
        if (!piece) return false;
        // From a large page on, with room for the last one.
        const std::size_t skipped =
            isLarge ? nbpFirstLargePage(piece.get()) - reinterpret_cast<std::uintptr_t>(piece.get())
                    : 0;
        next_ = reinterpret_cast<std::uint16_t*>(piece.get() + skipped);
        pieces_.push_back(std::move(piece));
        room_ = lines;
        made_ += lines;
        return true;
    }

    std::vector<std::uint16_t*> view_;
    std::vector<std::uint16_t*> owned_;
    std::vector<Piece> pieces_;
    std::uint16_t* next_ = nullptr; // room for the next line
    std::size_t room_ = 0;          // lines that fit there
    std::size_t made_ = 0;          // lines that all pieces hold
    std::vector<std::uint8_t> state_;
    std::vector<std::uint16_t> zeros_;
};
