// Native files. One that does not have the mark of text headers is a raw one's pieces, and its
// lines behind them. The last byte is as in fuzzFormat.cpp.
#include "fuzz/fuzzFile.h"
#include "fuzz/fuzzObject.h"
#include "fuzz/nativePieces.h"

#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::string_view mark = "NATIVE";
    constexpr std::size_t markOffset = 30;
    constexpr const char* type = "?type=native";
    if (size == 0) return 0;
    const unsigned choices = data[--size];
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (size < 1000 || text.substr(markOffset).starts_with(mark)) {
        const FuzzFile file({data, size});
        fuzzObject(file.path(), type, choices);
        return 0;
    }
    std::span<const std::uint8_t> rest(data, size);
    const auto next = [&rest](const NativePiece& piece) {
        const FuzzFile::Piece out{static_cast<off_t>(piece.offset), rest.first(piece.size)};
        rest = rest.subspan(piece.size);
        return out;
    };
    const auto [start, description, coverage] = nativePieces;
    const FuzzFile file{next(start), next(description), next(coverage),
                        FuzzFile::Piece{off_t{nativeLinesOffset}, rest}};
    fuzzObject(file.path(), type, choices);
    return 0;
}
