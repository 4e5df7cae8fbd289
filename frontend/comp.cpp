#include "frontend/comp.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr int ringSize = 4096; // N
constexpr int lookahead = 16;  // F: longest match
constexpr int threshold = 2;   // a match is longer than this
constexpr std::uint16_t nil = ringSize;
constexpr int roots = 256; // one tree for each first byte of a string, at nil + 1 + byte
constexpr std::uint8_t blank = ' ';
constexpr std::size_t flushAt = 1U << 16; // bytes held back before a write

// The 16 bytes at a place, as two numbers that compare like the string.
struct Key {
    std::uint64_t high;
    std::uint64_t low;
};

Key keyAt(const std::uint8_t* p)
{
    Key k;
    std::memcpy(&k.high, p, 8);
    std::memcpy(&k.low, p + 8, 8);
    if constexpr (std::endian::native == std::endian::little) {
        k.high = __builtin_bswap64(k.high);
        k.low = __builtin_bswap64(k.low);
    }
    return k;
}

// The ring and the trees of the strings in it. All of it is some 30 KiB in one block: the search
// hops from node to node, and its time is the time of those loads.
class Coder {
public:
    explicit Coder(std::FILE* out) : out_(out)
    {
        for (int i = nil + 1; i <= nil + roots; ++i)
            node_[i].child[1] = nil;
        for (int i = 0; i < ringSize; ++i)
            node_[i].parent = nil;
        std::fill_n(ring_.begin(), ringSize - lookahead, blank);
        held_.reserve(flushAt + 64);
    }

    bool encode(const std::uint8_t* data, std::uint32_t size);

private:
    struct Node {
        std::uint16_t child[2]{}; // left, right
        std::uint16_t parent = 0;
    };

    void insertNode(int r);
    void deleteNode(int p);
    void replaceChild(int parent, int old, int by)
    {
        Node& n = node_[parent];
        n.child[n.child[1] == old ? 1 : 0] = static_cast<std::uint16_t>(by);
    }
    void literal(std::uint8_t byte)
    {
        group_[0] = static_cast<std::uint8_t>(group_[0] | 1U << items_);
        group_[groupSize_++] = byte;
    }
    void match(int position, int length)
    {
        group_[groupSize_++] = static_cast<std::uint8_t>(position & 0xFF);
        group_[groupSize_++] =
            static_cast<std::uint8_t>((position >> 4 & 0xF0) | (length - threshold - 1));
    }
    void endItem()
    {
        if (++items_ == 8) endGroup();
    }
    void endGroup()
    {
        held_.insert(held_.end(), group_.begin(),
                     group_.begin() + static_cast<std::ptrdiff_t>(groupSize_));
        group_[0] = 0;
        groupSize_ = 1;
        items_ = 0;
        if (held_.size() >= flushAt) flush();
    }
    void flush()
    {
        good_ = good_ && std::fwrite(held_.data(), 1, held_.size(), out_) == held_.size();
        held_.clear();
    }

    std::array<std::uint8_t, ringSize + lookahead - 1> ring_{}; // its start again at its end
    std::array<Node, ringSize + 1 + roots> node_{};
    int matchPosition_ = 0;
    int matchLength_ = 0;

    std::array<std::uint8_t, 1 + 8 * 2> group_{}; // flags and items of the group at hand
    std::size_t groupSize_ = 1;
    int items_ = 0;
    std::vector<std::uint8_t> held_;
    std::FILE* out_;
    bool good_ = true;
};

// Hangs the string at r into its tree and notes the first of the longest matches on the way.
void Coder::insertNode(int r)
{
    const Key key = keyAt(ring_.data() + r);
    int p = nil + 1 + ring_[static_cast<std::size_t>(r)];
    int length = 0;
    int position = 0;
    Node& own = node_[static_cast<std::size_t>(r)];
    own.child[0] = own.child[1] = nil;
    const auto& root = node_[static_cast<std::size_t>(p)];
    int next = root.child[1]; // from a root to the right
    unsigned side = 1;
    while (next != nil) {
        p = next;
        // Both children are fetched while the strings are compared, and the way taken by
        // arithmetic: which one it is cannot be predicted.
        const Node& node = node_[static_cast<std::size_t>(p)];
        const unsigned left = node.child[0];
        const unsigned right = node.child[1];
        const Key other = keyAt(ring_.data() + p);
        const std::uint64_t high = key.high ^ other.high;
        const std::uint64_t low = key.low ^ other.low;
        if ((high | low) == 0) { // all 16: r takes the node's place, and the node leaves
            matchLength_ = lookahead;
            matchPosition_ = p;
            own = node;
            node_[own.child[0]].parent = static_cast<std::uint16_t>(r);
            node_[own.child[1]].parent = static_cast<std::uint16_t>(r);
            replaceChild(own.parent, p, r);
            node_[static_cast<std::size_t>(p)].parent = nil;
            return;
        }
        const bool isRight =
            (key.high > other.high) | ((key.high == other.high) & (key.low > other.low));
        side = isRight ? 1 : 0;
        next = static_cast<int>(left ^ ((left ^ right) & (0U - side)));
        const int same = high != 0 ? std::countl_zero(high) / 8 : 8 + std::countl_zero(low) / 8;
        position = same > length ? p : position;
        length = std::max(same, length);
    }
    node_[static_cast<std::size_t>(p)].child[side] = static_cast<std::uint16_t>(r);
    own.parent = static_cast<std::uint16_t>(p);
    matchLength_ = length;
    matchPosition_ = position;
}

void Coder::deleteNode(int p)
{
    Node& gone = node_[static_cast<std::size_t>(p)];
    if (gone.parent == nil) return;
    int q;
    if (gone.child[1] == nil) {
        q = gone.child[0];
    } else if (gone.child[0] == nil) {
        q = gone.child[1];
    } else {
        q = gone.child[0];
        if (node_[static_cast<std::size_t>(q)].child[1] != nil) {
            do
                q = node_[static_cast<std::size_t>(q)].child[1];
            while (node_[static_cast<std::size_t>(q)].child[1] != nil);
            Node& heir = node_[static_cast<std::size_t>(q)];
            node_[heir.parent].child[1] = heir.child[0];
            node_[heir.child[0]].parent = heir.parent;
            heir.child[0] = gone.child[0];
            node_[gone.child[0]].parent = static_cast<std::uint16_t>(q);
        }
        node_[static_cast<std::size_t>(q)].child[1] = gone.child[1];
        node_[gone.child[1]].parent = static_cast<std::uint16_t>(q);
    }
    node_[static_cast<std::size_t>(q)].parent = gone.parent;
    replaceChild(gone.parent, p, q);
    gone.parent = nil;
}

bool Coder::encode(const std::uint8_t* data, std::uint32_t size)
{
    std::uint32_t next = static_cast<std::uint32_t>(std::min<std::uint64_t>(size, lookahead));
    int ahead = static_cast<int>(next); // bytes of the ring not yet coded
    int s = 0;                          // where the next byte goes
    int r = ringSize - lookahead;       // the string to code
    std::copy_n(data, next, ring_.begin() + r);
    if (ahead == 0) return good_;
    // The strings of blanks before the start: a picture's empty top matches at once.
    for (int i = 1; i <= lookahead; ++i)
        insertNode(r - i);
    insertNode(r);
    while (ahead > 0) {
        int length = std::min(matchLength_, ahead);
        if (length <= threshold) {
            length = 1;
            literal(ring_[static_cast<std::size_t>(r)]);
        } else {
            match(matchPosition_, length);
        }
        endItem();
        for (int i = 0; i < length; ++i) {
            deleteNode(s);
            const bool more = next < size;
            if (more) {
                ring_[static_cast<std::size_t>(s)] = data[next++];
                if (s < lookahead - 1)
                    ring_[static_cast<std::size_t>(s + ringSize)] =
                        ring_[static_cast<std::size_t>(s)];
            } else {
                --ahead;
            }
            s = (s + 1) & (ringSize - 1);
            r = (r + 1) & (ringSize - 1);
            if (ahead > 0) insertNode(r);
        }
    }
    if (items_ > 0) endGroup();
    flush();
    return good_;
}

} // namespace

int compress(const std::uint8_t* data, std::uint32_t size, std::FILE* out)
{
    const std::uint8_t header[14] = {'S',
                                     'Z',
                                     'D',
                                     'D',
                                     0x88,
                                     0xF0,
                                     0x27,
                                     0x33,
                                     'A', // the compression mode
                                     0,   // missing character of the file's name
                                     static_cast<std::uint8_t>(size),
                                     static_cast<std::uint8_t>(size >> 8),
                                     static_cast<std::uint8_t>(size >> 16),
                                     static_cast<std::uint8_t>(size >> 24)};
    if (std::fwrite(header, 1, sizeof header, out) != sizeof header) return 1;
    const auto coder = std::make_unique<Coder>(out);
    return coder->encode(data, size) ? 0 : 1;
}

void RevMem(void* data, int length)
{
    if (length > 0) std::reverse(static_cast<char*>(data), static_cast<char*>(data) + length);
}
