#pragma once
/**
 * What the units of the satellite object share: the walk over linked objects, and texts that an
 * object owns.
 */
#include "sat/nbSatObject.h"
#include "util/nbUtlMalloc.h"

#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

// The linked objects of a list, from its first one. A count of 0, which the converter sets around
// calls that merge, means one object.
inline std::span<NbSatObject> nbpSatLinked(NbSatObject* object)
{
    const int count = object->objectNum;
    return {object, count > 1 ? static_cast<std::size_t>(count) : 1};
}

// Copy of a text, freed with nbUtlFree; null when memory ran out (logged with `caller`).
inline char* nbpSatCopyText(std::string_view text, const char* caller)
{
    auto* copy = static_cast<char*>(nbUtlMalloc(text.size() + 1, caller));
    if (copy == nullptr) return nullptr;
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    return copy;
}
