#pragma once
/**
 * The lines of a raster that is read on demand: 16-bit counts, kept until the file closes, with
 * one state byte a line. What the states mean is the driver's.
 */
#include "util/nbUtlMalloc.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class NbLineCache {
public:
    // Empties the cache and gives it a size. Throws when memory is out.
    void reset(int lines, int columns)
    {
        owned_.clear();
        view_.assign(static_cast<std::size_t>(lines), nullptr);
        owned_.resize(static_cast<std::size_t>(lines));
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
        const std::size_t size = zeros_.size() * sizeof(std::uint16_t);
        if (!owned_[i]) owned_[i].reset(static_cast<std::uint16_t*>(nbUtlMalloc(size, caller)));
        view_[i] = owned_[i].get();
        return view_[i];
    }

    // A line of zeros. All such lines are one piece of memory, so that a short file needs no
    // more than its own size; nobody may write to it.
    void useZeros(int n)
    {
        owned_[static_cast<std::size_t>(n)].reset();
        view_[static_cast<std::size_t>(n)] = zeros_.data();
    }

private:
    struct Free {
        void operator()(std::uint16_t* p) const noexcept { nbUtlFree(p); }
    };
    std::vector<std::uint16_t*> view_;
    std::vector<std::unique_ptr<std::uint16_t[], Free>> owned_;
    std::vector<std::uint8_t> state_;
    std::vector<std::uint16_t> zeros_;
};
