#pragma once
/**
 * Files compressed in the SZDD container: LZSS over a ring of 4096 bytes.
 */
#include <cstddef>
#include <span>
#include <vector>

namespace nbView {

bool isSzdd(std::span<const std::byte> file);

// The bytes inside. Throws std::runtime_error when the container is damaged: another method, a
// stream that ends early, a size that no stream of this length can reach.
std::vector<std::byte> expandSzdd(std::span<const std::byte> file);

} // namespace nbView
