#pragma once
/**
 * What std::unique_ptr needs to own memory of nbUtlMalloc and nbUtlCalloc.
 */
#include "util/nbUtlMalloc.h"

struct NbUtlFreer {
    void operator()(void* p) const noexcept { nbUtlFree(p); }
};
